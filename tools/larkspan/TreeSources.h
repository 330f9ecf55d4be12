#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Larkspan/Archive/FileTree.h"
#include "Larkspan/Archive/TreeArchiver.h"
#include "foundation/IO/Processors.h"
#include "tools/larkspan/Console.h"
#include "tools/larkspan/InputFile.h"
#include "tools/larkspan/NameSelection.h"

namespace Tool {

/// The library's `TreeArchiver::DefaultStoredSuffixes`, with commas between.
[[nodiscard]] std::string ListStoredSuffixes();

/// What is packed into an archive, and how.
struct TreeOptions : ExcludeOptions {
  std::vector<std::string> paths;  // `-` is the standard input
  std::vector<std::string> pathFiles;
  bool null = false;   // paths in files, and names that are printed, end with zero bytes
  std::string folder;  // what relative paths count from; empty for the current one
  std::string inputName = "stdin";
  std::string method = "deflated";
  std::string level = "default";                      // or "fast", "best"
  std::string storedSuffixes = ListStoredSuffixes();  // or "none"
  unsigned int jobs = ::IO::GetProcessorCount();
  bool followLinks = false;
  bool copyHardLinks = false;
  bool keepOwners = false;
  bool oneFileSystem = false;
  bool leaveOutCaches = false;
  bool dryRun = false;
};

/// Prints what a walk and the writing of what it found tell.
class TreeMessages final : public Larkspan::Archive::FileTree::Watcher,
                           public Larkspan::Archive::TreeArchiver::Watcher {
 public:
  explicit TreeMessages(Console& messages) noexcept : console(messages) {}

  void OnStep() override;
  void OnLeftOut(const ::IO::Location& location, Larkspan::Archive::FileTree::Reason reason,
                 int status) override;
  void OnLeftOut(const ::IO::Location& location, int status) override;
  void OnChanged(const ::IO::Location& location) override;
  void OnReadFailure(const ::IO::Location& location, int status) override;
  void OnFactsLost(const Vx::UniString& folder) override;
  void OnRead(unsigned int bytes) override;
  void OnItemBegin(const Vx::UniString& name, Vx::UInt64 size) override;
  void OnItem(const Vx::UniString& name) override;

  void TellChange(const std::string& subject);

 private:
  Console& console;
};

/// The files that a command line names, on their way into an archive.
class TreeSources final {
 public:
  TreeSources(const TreeOptions& treeOptions, Console& messages);

  [[nodiscard]] Larkspan::Archive::FileTree& GetTree() noexcept { return tree; }

  /// Finds all files, in the file system and among the arguments, and checks their names.
  void Collect();

  /// Prints what would be added.
  void Show() const;
  /// Adds the headers of the archive that tell of empty folders.
  void PutHeaders(Larkspan::Common::IO::ArchiveHeaders& headers) { archiver.PutHeaders(headers); }
  /// Adds the entries.
  void Write(Larkspan::Common::IO::ArchiveOBinaryChannel& archive);

 private:
  void Add(const std::string& path);
  void AddStandardInput();
  [[nodiscard]] Vx::UniString NameFromPath(const std::string& path);
  void CheckNameLengths() const;
  [[nodiscard]] unsigned __int64 GetTotalSize() const;

  [[nodiscard]] Larkspan::Archive::FileTree::Options MakeTreeOptions() const;

  const TreeOptions& options;
  Console& console;
  TreeMessages watcher;
  const Larkspan::Archive::NamePatterns excluded;
  Larkspan::Archive::FileTree tree;
  Larkspan::Archive::TreeArchiver archiver;
  std::optional<InputFile> input;
  bool namesChanged = false;
};

}  // namespace Tool
