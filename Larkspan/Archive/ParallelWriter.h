#pragma once

#include <memory>

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "foundation/Vx/IBinaryChannel.h"

namespace Larkspan::Archive {

/// Adds entries to an archive, and compresses their data on several threads. The entries stand in
/// the archive in the order in which they were added, and its bytes don't depend on the number of
/// threads: data of up to 1 MiB is compressed as a whole, longer data in blocks of 1 MiB that don't
/// depend on each other. Their frames make up one zlib stream (RFC 1950), which every reader of
/// archives reads; one that knows decodes them side by side.
///
/// All reading and writing is done by the caller's thread, in the calls below; other threads only
/// compress. Takes (2 `jobs` + 2) times 2.1 MiB at the most, and the compressor's own memory for
/// each thread (less than 1 MiB), whatever the entries' sizes. Destruction without `Finish` drops
/// what has not been written; no thread outlives the object.
class LARKSPAN_API ParallelWriter final {
 public:
  /// How much time goes into making few bytes; the plain data is the same, and so is its speed when
  /// it is read. `docs/performance.md` has figures.
  enum class Level : unsigned char {
    Fast,
    Default,
    /// Takes 9 MiB more for each thread where libdeflate is at work.
    Best,
  };

  /// Adds to `archive`, which nobody else uses until `Finish`. With one job no thread is started;
  /// where the system refuses threads, there are fewer.
  /// Throws `Vx::IllegalArgumentException` for no job, and `Vx::OutOfMemoryException`.
  ParallelWriter(Common::IO::ArchiveOBinaryChannel& archive, unsigned int jobs,
                 Level level = Level::Default);
  ParallelWriter(const ParallelWriter&) = delete;
  ParallelWriter& operator=(const ParallelWriter&) = delete;
  ~ParallelWriter();

  /// Adds an entry with all that `source` has, which is read to its end and stays open. `method` is
  /// `Deflated` or `Stored`. Throws `Vx::IllegalArgumentException` as `PutNextEntry` does, what the
  /// source throws, and what writing an earlier entry threw. After a failure of the source within
  /// its first MiB, the archive is as if the entry had not been added; after any other failure only
  /// destruction is left.
  void Add(const Vx::UniString& name, const Common::IO::ArchiveHeaders& headers,
           Common::IO::ArchiveEntry::Method method, Vx::IBinaryChannel& source);

  /// Writes what is still to be written: all entries are in the archive, and no entry is open.
  /// Entries can be added after that. Throws what writing throws.
  void Finish();

 private:
  class Pipeline;

  const std::unique_ptr<Pipeline> pipeline;
};

}  // namespace Larkspan::Archive
