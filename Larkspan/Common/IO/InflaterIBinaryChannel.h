#pragma once

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/ZlibMemory.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/PeekableInput.h"
#include "foundation/Vx/WrappedChannel.h"

struct z_stream_s;

namespace Larkspan::Common::IO {

/// Reads and decompresses one zlib stream (RFC 1950) from the wrapped channel.
///
/// Takes twice the buffer size at construction; zlib takes its own memory then and with the first
/// bytes. Reads ahead of need: a failure can come up in the call that took the last good bytes, and
/// a call earlier or later by the sizes of the reads and the kind of wrapped channel. A wrapped
/// channel that ends before the stream does is a failure. `Close` closes the wrapped channel, owned
/// or not; destruction does not.
class LARKSPAN_API InflaterIBinaryChannel final : public Vx::IBinaryChannel {
 public:
  /// `bufferSize`, above 0, is the size of each of the two buffers: the wrapped channel is read in
  /// blocks of at most this size.
  /// Throws `Vx::IllegalArgumentException`, `Vx::OutOfMemoryException`, `Vx::IOException`.
  InflaterIBinaryChannel(Vx::IBinaryChannel& channel, unsigned int bufferSize);
  InflaterIBinaryChannel(const Vx::IBinaryChannelRef& channel, unsigned int bufferSize);
  ~InflaterIBinaryChannel() override;

  using IBinaryChannel::Read;
  /// Falls short of `size` only at the end of the data.
  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size,
                                  ReadSomeModeSelector mode) override;
  /// The decompressed bytes now in the buffer, at most its size; 0 only at the end of the data.
  [[nodiscard]] Vx::UInt64 GetAvailable() const override;
  void Close() override;

 private:
  friend class ArchiveIBinaryChannel;

  // Begins a stream of its own on another channel, with the memory that is there.
  void Restart(const Vx::IBinaryChannelRef& channel) noexcept;
  void Initialize(unsigned int bufferSize);
  void FindPeekable() noexcept;
  void Destroy() noexcept;
  void EnsureOpened(const char* file, unsigned int line) const;
  unsigned int Inflate(char* target, unsigned int size, bool borrowing) const;
  void TakeInput(bool borrowing) const;
  void SettleInput() const;
  void SetInput(const char* bytes, unsigned int size) const noexcept;
  void FillBuffer() const;
  void RefillUsedUpBuffer() const;
  unsigned int TakeBuffered(char* target, unsigned int size);
  Vx::IBinaryChannel& GetBaseChannel() const noexcept { return wrapped.Get(); }

  // Asking what is available decompresses: the wrapped channel and all that follows are a cache of
  // the data, which const operations fill.
  mutable Vx::WrappedChannel<Vx::IBinaryChannel> wrapped;
  ZlibMemory<z_stream_s> stream;
  unsigned int inputCapacity = 0;
  ZlibMemory<char[]> input;
  unsigned int outputCapacity = 0;
  mutable unsigned int valid = 0;
  mutable unsigned int position = 0;
  ZlibMemory<char[]> output;
  mutable bool streamEnded = false;
  bool closed = false;
  // The wrapped channel, if it pays to decompress input where it lies there, and how much of that
  // zlib has at the moment.
  Vx::PeekableInput* peekable = nullptr;
  mutable unsigned int borrowed = 0;
};

}  // namespace Larkspan::Common::IO
