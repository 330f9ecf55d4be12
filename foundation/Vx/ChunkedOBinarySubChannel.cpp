#include "foundation/Vx/ChunkedOBinarySubChannel.h"

#include <algorithm>
#include <cstring>

#include "foundation/Vx/IOException.h"
#include "foundation/Vx/IllegalArgumentException.h"

namespace Vx {
namespace {

unsigned int CheckedSize(unsigned int chunkSize) {
  if (chunkSize == 0) {
    throw IllegalArgumentException("Invalid chunk size: chunk size is 0.", __FILE__, __LINE__);
  }
  return chunkSize;
}

}  // namespace

ChunkedOBinarySubChannel::ChunkedOBinarySubChannel(OBinaryChannel& target, const OProtocolX& form,
                                                   unsigned int chunkSize)
    : channel(target),
      protocol(form),
      capacity(CheckedSize(chunkSize)),
      buffer(NewByteArray(chunkSize)) {}

ChunkedOBinarySubChannel::~ChunkedOBinarySubChannel() = default;

void ChunkedOBinarySubChannel::Write(const char* data, unsigned int size) {
  CheckOpened();
  while (size != 0) {
    if (gathered == 0 && size >= capacity) {
      WriteFrame(data, capacity);
      data += capacity;
      size -= capacity;
      continue;
    }
    const unsigned int count = std::min(size, capacity - gathered);
    std::memcpy(buffer.get() + gathered, data, count);
    gathered += count;
    data += count;
    size -= count;
    if (gathered == capacity) WriteGathered();
  }
}

void ChunkedOBinarySubChannel::Flush() {
  CheckOpened();
  WriteGathered();
  channel.Flush();
}

void ChunkedOBinarySubChannel::Close() {
  if (closed) return;
  WriteGathered();
  protocol.Write(channel, 0U);
  closed = true;
}

void ChunkedOBinarySubChannel::CheckOpened(const char* file, unsigned int line) const {
  if (closed) {
    throw IOException("Chunked binary output sub-channel is closed.", file, line);
  }
}

void ChunkedOBinarySubChannel::WriteFrame(const char* data, unsigned int size) {
  protocol.Write(channel, size);
  channel.Write(data, size);
}

void ChunkedOBinarySubChannel::WriteGathered() {
  // An empty frame would end the data.
  if (gathered == 0) return;
  WriteFrame(buffer.get(), gathered);
  gathered = 0;
}

}  // namespace Vx
