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

  /// An entry begins.
  virtual void Begin(std::size_t number) = 0;
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
  /// `index` and its store outlive the reader. With one job no thread is started; where the system
  /// refuses threads, there are fewer. Throws `Vx::IllegalArgumentException` for no job.
  ParallelReader(const ArchiveIndex& index, unsigned int jobs);
  ParallelReader(const ParallelReader&) = delete;
  ParallelReader& operator=(const ParallelReader&) = delete;
  ~ParallelReader();

  /// Reads all entries in the order of the archive. A damaged one doesn't end it. Throws what the
  /// sink throws, and `Vx::OutOfMemoryException`; after that only destruction is left.
  void Read(EntrySink& sink);
  /// Reads the entries of these numbers in this order.
  void Read(EntrySink& sink, std::span<const std::size_t> numbers);

 private:
  class Pipeline;

  const std::unique_ptr<Pipeline> pipeline;
};

}  // namespace Larkspan::Archive
