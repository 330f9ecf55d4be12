#pragma once

#include <exception>
#include <memory>
#include <span>

#include "Larkspan/Archive/ArchiveIndex.h"

namespace Larkspan::Archive {

/// Takes the data of entries, one entry after the other, on the thread that reads them.
class LARKSPAN_API EntrySink {
 public:
  virtual ~EntrySink();
  EntrySink(const EntrySink&) = delete;
  EntrySink& operator=(const EntrySink&) = delete;

  /// An entry begins, the one of this number if they are counted from 0 on. Its sizes and CRC are
  /// what its footer claims.
  virtual void Begin(std::size_t number, const Common::IO::ArchiveEntry& entry) = 0;
  /// More of its data. Nothing of it is verified before the entry ends.
  virtual void Write(const char* data, unsigned int size) = 0;
  /// The entry ends. It is verified if `failure` is null; else that is what reading it as a stream
  /// would have thrown, and the data is not to be used.
  virtual void End(std::size_t number, const std::exception_ptr& failure) = 0;

 protected:
  EntrySink() noexcept = default;
};

/// Decodes and verifies entries of an archive on several threads. What comes out, and in which
/// order, doesn't depend on their number.
///
/// Entries of up to 1 MiB, and longer ones that consist of blocks, are decoded side by side; other
/// long ones by the caller's thread, as a stream. Takes (2 `jobs` + 2) times 2.1 MiB at the most,
/// and the decompressor's own memory for each thread, whatever the entries' sizes. No thread
/// outlives the object.
class LARKSPAN_API ParallelReader final {
 public:
  /// With one job no thread is started; where the system refuses threads, there are fewer. Throws
  /// `Vx::IllegalArgumentException` for no job.
  explicit ParallelReader(unsigned int jobs);
  ParallelReader(const ParallelReader&) = delete;
  ParallelReader& operator=(const ParallelReader&) = delete;
  ~ParallelReader();

  /// Reads all entries in the order of the archive, in one pass that holds those at work alone, and
  /// gives how the archive ends. A damaged entry doesn't end it. Throws what the sink and the store
  /// throw, `Vx::OutOfMemoryException`, and, behind the last entry that can be found, what
  /// `ArchiveIBinaryChannel` throws where it can't go on. After that only destruction is left.
  Common::IO::ArchiveEnd Read(const RandomInput& archive, EntrySink& sink);
  /// Reads all entries of an index, or those of these numbers in this order.
  void Read(const ArchiveIndex& index, EntrySink& sink);
  void Read(const ArchiveIndex& index, EntrySink& sink, std::span<const std::size_t> numbers);

 private:
  class Pipeline;

  const std::unique_ptr<Pipeline> pipeline;
};

}  // namespace Larkspan::Archive
