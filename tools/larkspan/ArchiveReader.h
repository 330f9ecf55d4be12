#pragma once

#include <string>
#include <string_view>

#include "Larkspan/Archive/EntryReader.h"
#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "tools/larkspan/ArchiveSource.h"
#include "tools/larkspan/Console.h"

namespace Tool {

namespace Archive = Larkspan::Common::IO;

/// Warns of an archive that ends, after `size` bytes, inside its header.
void CheckHeaderSize(const std::string& subject, unsigned __int64 size, unsigned int reserved,
                     Console& console);

/// An archive from front to back, in large chunks; of a file, those that come next are decoded on
/// other threads meanwhile. A bad one throws `Failure` with the archive's
/// name. A header or an end that isn't as it was written is told to the console, and the work goes
/// on.
class ArchiveReader final : public Larkspan::Archive::EntrySource {
 public:
  /// Opens the archive and reads its header; `-` is the standard input. `choose`, if given, is
  /// asked for each entry, and perhaps before those in front of it were read. With 0 jobs entries
  /// can be left for nothing.
  ArchiveReader(const std::string& argument, Console& messages, unsigned int jobCount = 0,
                Choose choose = {});

  [[nodiscard]] const std::string& GetSubject() const noexcept { return source.GetSubject(); }
  [[nodiscard]] const Archive::ArchiveIBinaryChannel& GetArchive() const override {
    return reader.GetArchive();
  }
  /// How the archive ends, behind its last entry.
  [[nodiscard]] Archive::ArchiveEnd GetEnd() const { return reader.GetEnd(); }
  /// Bytes of the archive so far.
  [[nodiscard]] unsigned __int64 GetPosition() const noexcept { return source.GetPosition(); }

  /// Whether entries are chosen before those in front of them were read.
  [[nodiscard]] bool IsAhead() const noexcept { return reader.KnowsSizes(); }

  void SetChoice(Choose choose) override;
  bool LookAhead(const Look& look) override { return reader.LookAhead(look); }
  [[nodiscard]] EntryRef Next() override;
  [[nodiscard]] std::string_view ReadChunk() override;
  /// Reads what is left of the entry and verifies it.
  void Verify();
  /// Throws `Failure` if the entry's end can't be found; nothing else can be read then.
  void Leave() override;
  [[nodiscard]] bool CopyEntry(const Vx::UniString& name, const Take& take) override;

 private:
  template <class Work>
  auto Guard(Work&& work);
  unsigned int ReadHeader();
  [[nodiscard]] std::string DescribePosition() const;
  [[nodiscard]] Failure FailToGoOn(const std::string& last, const VxException& reason) const;
  void EndEntry();

  Console& console;
  ArchiveSource source;
  Larkspan::Archive::EntryReader reader;
  bool isChosen;
  bool hasBegun = false;
  EntryRef current;      // empty between two entries
  std::string previous;  // name of the entry before, ready to be printed
};

}  // namespace Tool
