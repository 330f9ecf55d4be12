#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "Larkspan/Archive/ArchiveIndex.h"
#include "Larkspan/Archive/ParallelReader.h"
#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "foundation/Vx/Memory.h"
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
class ArchiveReader final {
 public:
  using EntryRef = Archive::ArchiveIBinaryChannel::EntryRef;

  using Choice = Larkspan::Archive::ParallelReader::Choice;
  using Choose = Larkspan::Archive::ParallelReader::Choose;

  /// Opens the archive and reads its header; `-` is the standard input. `choose`, if given, is
  /// asked for each entry, and perhaps before those in front of it were read. With 0 jobs entries
  /// can be left for nothing.
  ArchiveReader(const std::string& argument, Console& messages, unsigned int jobCount = 0,
                Choose choose = {});
  ArchiveReader(const ArchiveReader&) = delete;
  ArchiveReader& operator=(const ArchiveReader&) = delete;

  [[nodiscard]] const std::string& GetSubject() const noexcept { return source.GetSubject(); }
  /// The channel, for questions about the archive header.
  [[nodiscard]] const Archive::ArchiveIBinaryChannel& GetArchive() const noexcept {
    return channel;
  }
  /// How the archive ends, behind its last entry.
  [[nodiscard]] Archive::ArchiveEnd GetEnd() const {
    return parallel ? parallel->GetEnd() : channel.GetEnd();
  }
  /// Bytes of the archive so far.
  [[nodiscard]] unsigned __int64 GetPosition() const noexcept { return source.GetPosition(); }

  /// Whether entries are chosen before those in front of them were read.
  [[nodiscard]] bool IsAhead() const noexcept { return parallel.has_value(); }

  /// Calls `look` with the name of every entry, decoding none, as far as they can be found. To be
  /// called before `Next`. Does nothing where the archive comes through a pipe.
  void LookAhead(const std::function<void(const Vx::UniString&)>& look);

  /// Verifies the entry before and returns the next one; empty at the end.
  [[nodiscard]] EntryRef Next();
  /// More of the entry's data, empty at its end. Valid until the next call.
  [[nodiscard]] std::string_view ReadChunk();
  /// Reads what is left of the entry and verifies it.
  void Verify();
  /// Ends the entry without decoding what is left of it, so that the next one can be read after a
  /// bad one. Throws `Failure` if its end can't be found; nothing else can be read then.
  void Leave();

  /// The data of the last entry of that name, for `ReadFrom`; empty if there is none, or if the
  /// archive comes through a pipe.
  [[nodiscard]] Vx::IBinaryChannelRef OpenEntry(const Vx::UniString& name);
  /// Reads what the channel of `OpenEntry` has; 0 at its end, where it is verified.
  [[nodiscard]] unsigned int ReadFrom(Vx::IBinaryChannel& entry, char* target, unsigned int size);

 private:
  template <class Work>
  auto Guard(Work&& work);
  unsigned int ReadHeader();
  [[nodiscard]] std::string DescribePosition() const;
  [[nodiscard]] Failure FailToGoOn(const std::string& last, const VxException& reason) const;
  void EndEntry();
  EntryRef FindNext();

  Console& console;
  ArchiveSource source;
  Archive::ArchiveIBinaryChannel channel;
  const unsigned int jobs;
  const Choose chooseEntry;
  // Set by the first `Next` if it reads the archive instead of the channel.
  std::optional<Larkspan::Archive::ParallelReader> parallel;
  std::optional<Larkspan::Archive::ArchiveIndex> index;  // made for the first `OpenEntry`
  Vx::ByteArray buffer;
  EntryRef current;      // empty between two entries
  std::string previous;  // name of the entry before, ready to be printed
};

}  // namespace Tool
