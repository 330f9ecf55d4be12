#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/Memory.h"
#include "foundation/Vx/OBinaryChannel.h"
#include "foundation/Vx/OProtocolX.h"

namespace Vx {

/// Writes data of unknown length into another channel so that the reader finds its end.
///
/// The data goes out in frames: the number of bytes that follow, written through the protocol as
/// `unsigned int`, and the bytes. A frame of length 0 ends the data. Every frame but the last has
/// the chunk size, unless `Flush` sends what is there; how the writes cut the data has no
/// influence. `Close` completes the framing and leaves the other channel open; so does
/// destruction, which writes nothing.
class FOUNDATION_API ChunkedOBinarySubChannel final : public OBinaryChannel {
 public:
  /// Takes `chunkSize` bytes of memory. Throws `IllegalArgumentException` for a chunk size of 0 and
  /// `OutOfMemoryException`.
  ChunkedOBinarySubChannel(OBinaryChannel& target, const OProtocolX& form, unsigned int chunkSize);
  ~ChunkedOBinarySubChannel() override;

  using OBinaryChannel::Write;
  void Write(const char* data, unsigned int size) override;
  /// Sends what is gathered as a frame of its own, and flushes the other channel.
  void Flush() override;
  /// Sends what is gathered and the terminator.
  void Close() override;

 private:
  void CheckOpened(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) const;
  void WriteFrame(const char* data, unsigned int size);
  void WriteGathered();

  OBinaryChannel& channel;
  const OProtocolX& protocol;
  const unsigned int capacity;
  unsigned int gathered = 0;
  ByteArray buffer;
  bool closed = false;
};

}  // namespace Vx
