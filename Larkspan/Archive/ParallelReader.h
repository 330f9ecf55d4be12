#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string_view>

#include "Larkspan/Archive/ArchiveIndex.h"

namespace Larkspan::Archive {

/// Reads entries of an archive one after the other, and decodes and verifies those that come next
/// on several threads meanwhile. What comes out doesn't depend on their number.
///
/// Entries of up to 1 MiB, and longer ones that consist of blocks, are decoded side by side; other
/// long ones by the caller's thread, as a stream. Takes (2 `jobs` + 2) times 2.1 MiB at the most,
/// and 1.1 MiB and the decompressor's own memory for each thread, whatever the entries' sizes and
/// their number. No thread outlives the object.
///
/// A damaged entry doesn't hide those behind it. What fails, fails as it does in
/// `Common::IO::ArchiveIBinaryChannel`.
class LARKSPAN_API ParallelReader final {
 public:
  using EntryRef = ArchiveIndex::EntryRef;

  /// What becomes of an entry that a reader meets.
  enum class Choice {
    Take,
    Pass,  ///< it is hopped over, and neither decoded nor given out
    Stop,  ///< the same, and all that is behind it too
  };
  using Choose = std::function<Choice(const Common::IO::ArchiveEntry&)>;

  /// For all entries in the order of the archive, found in one pass. With one job no thread is
  /// started; where the system refuses threads, there are fewer. The store outlives the reader.
  /// Throws `Vx::IllegalArgumentException` for no job, and `Vx::OutOfMemoryException`.
  ///
  /// `choose`, if given, is asked for each entry before its sizes are known, on the caller's thread
  /// and some entries ahead of `Next`.
  ParallelReader(const RandomInput& archive, unsigned int jobs, Choose choose = {});
  /// For the entries of these numbers in this order. Index and store outlive the reader.
  ParallelReader(const ArchiveIndex& archiveIndex, unsigned int jobs,
                 std::span<const std::size_t> numbers);
  ParallelReader(const ParallelReader&) = delete;
  ParallelReader& operator=(const ParallelReader&) = delete;
  ~ParallelReader();

  /// The next entry, with sizes and CRC as its footer claims them; empty behind the last one. What
  /// has not been read of the one before is dropped, unverified. Throws what
  /// `ArchiveIBinaryChannel` throws where the archive can't be walked through.
  [[nodiscard]] EntryRef Next();

  /// More of the entry's data, at most 1 MiB; empty at its end, which is where it has been
  /// verified. Valid until the next call. Throws what reading and `CloseEntry` throw for a damaged
  /// entry; `Next` goes on behind it.
  [[nodiscard]] std::string_view ReadChunk();

  /// How the archive ends, and what its seal says: known behind the last entry.
  [[nodiscard]] Common::IO::ArchiveEnd GetEnd() const;

 private:
  class Pipeline;

  const std::unique_ptr<Pipeline> pipeline;
};

}  // namespace Larkspan::Archive
