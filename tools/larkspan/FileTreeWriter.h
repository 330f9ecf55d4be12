#pragma once

#include <string>

#include "Larkspan/Archive/ParallelWriter.h"
#include "tools/larkspan/FileTree.h"
#include "tools/larkspan/InputFile.h"

namespace Tool {

/// Writes files of a tree as entries of an archive, with their times and modes.
class FileTreeWriter final {
 public:
  /// `method` is `stored` or `deflated`.
  FileTreeWriter(const FileTree& files, Console& messages,
                 Larkspan::Common::IO::ArchiveOBinaryChannel& archive, const std::string& method,
                 unsigned int jobs);

  /// A file, or the standard input. What can't be opened is left out with a warning.
  void Add(const FileTree::Item& item);
  /// Writes what is still to be written.
  void Finish() { writer.Finish(); }

 private:
  void Add(const FileTree::Item& item, InputFile& input);

  const FileTree& tree;
  Console& console;
  Larkspan::Archive::ParallelWriter writer;
  const Larkspan::Common::IO::ArchiveEntry::Method method;
  const Vx::UniString timeHeader;
  const Vx::UniString modeHeader;
  Larkspan::Common::IO::ArchiveHeaders headers;  // of the entry at work, kept for the next one
};

}  // namespace Tool
