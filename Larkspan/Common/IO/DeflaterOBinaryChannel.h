#pragma once

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/ZlibMemory.h"
#include "foundation/Vx/OBinaryChannel.h"
#include "foundation/Vx/WrappedChannel.h"

struct z_stream_s;

namespace Larkspan::Common::IO {

/// Compresses what is written to it into one zlib stream (RFC 1950, deflate of RFC 1951) on the
/// wrapped channel.
///
/// Takes twice the buffer size and zlib's own memory at construction, and no more after that.
/// `Close` ends the stream, flushes and closes the wrapped channel, owned or not; destruction does
/// neither, and drops what has not been compressed yet. After a failure the stream is damaged and
/// the channel of no more use.
class LARKSPAN_API DeflaterOBinaryChannel final : public Vx::OBinaryChannel {
 public:
  /// There are no levels between these.
  enum CompressionLevel : int {
    DefaultCompression = -1,
    NoCompression = 0,
    BestSpeed = 1,
    BestCompression = 9,
  };

  /// `bufferSize`, at least 64, is the size of each of the two buffers: what is written reaches
  /// zlib in blocks of this size, and the wrapped channel in blocks of at most this size.
  /// Throws `Vx::IllegalArgumentException`, `Vx::OutOfMemoryException`, `Vx::IOException`.
  DeflaterOBinaryChannel(Vx::OBinaryChannel& channel, CompressionLevel level,
                         unsigned int bufferSize);
  DeflaterOBinaryChannel(const Vx::OBinaryChannelRef& channel, CompressionLevel level,
                         unsigned int bufferSize);
  ~DeflaterOBinaryChannel() override;

  using OBinaryChannel::Write;
  void Write(const char* data, unsigned int size) override;
  /// Completes the stream to a point up to which it can be decompressed, and flushes the wrapped
  /// channel. Where zlib has more than one buffer to give, the rest follows with the next call.
  /// Writes nothing where nothing waits.
  void Flush() override;
  /// Ends the stream, and neither flushes nor closes the wrapped channel.
  void Finish();
  void Close() override;

 private:
  friend class ArchiveOBinaryChannel;

  // Begins a stream of its own on another channel, with the memory that is there.
  void Restart(const Vx::OBinaryChannelRef& channel) noexcept;
  void Initialize(CompressionLevel level, unsigned int bufferSize);
  void Destroy() noexcept;
  void EnsureOpened(const char* file, unsigned int line) const;
  void FlushBuffer(int flush);
  [[nodiscard]] Vx::OBinaryChannel& GetBaseChannel() noexcept { return wrapped.Get(); }
  [[nodiscard]] const Vx::OBinaryChannel& GetBaseChannel() const noexcept { return wrapped.Get(); }

  Vx::WrappedChannel<Vx::OBinaryChannel> wrapped;
  ZlibMemory<z_stream_s> stream;
  unsigned int inputCapacity = 0;
  unsigned int waiting = 0;
  ZlibMemory<char[]> input;
  unsigned int outputCapacity = 0;
  ZlibMemory<char[]> output;
  bool closed = false;
};

}  // namespace Larkspan::Common::IO
