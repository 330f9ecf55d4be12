#include "foundation/Vx/BufferedOBinaryChannel.h"

#include <cstring>

#include "foundation/Vx/IOException.h"

namespace Vx {

BufferedOBinaryChannel::BufferedOBinaryChannel(const OBinaryChannelRef& target,
                                               unsigned int bufferSize)
    : wrapped(target, "Invalid binary output channel: channel is null.", __FILE__, __LINE__),
      capacity(bufferSize),
      buffer(NewByteArray(bufferSize)) {}

BufferedOBinaryChannel::BufferedOBinaryChannel(OBinaryChannel& target, unsigned int bufferSize)
    : wrapped(target), capacity(bufferSize), buffer(NewByteArray(bufferSize)) {}

BufferedOBinaryChannel::~BufferedOBinaryChannel() = default;

void BufferedOBinaryChannel::Write(const char* data, unsigned int size) {
  CheckOpened();
  if (size == 0) return;
  if (size > capacity - gathered) WriteGathered();
  if (size >= capacity) {
    wrapped.Get().Write(data, size);
    return;
  }
  std::memcpy(buffer.get() + gathered, data, size);
  gathered += size;
}

std::span<char> BufferedOBinaryChannel::GetRoom(unsigned int size) {
  CheckOpened();
  if (size >= capacity) return {};
  if (size > capacity - gathered) WriteGathered();
  return {buffer.get() + gathered, capacity - gathered};
}

void BufferedOBinaryChannel::Flush() {
  CheckOpened();
  WriteGathered();
  wrapped.Get().Flush();
}

void BufferedOBinaryChannel::Close() {
  if (closed) return;
  WriteGathered();
  wrapped.Get().Close();
  closed = true;
}

void BufferedOBinaryChannel::CheckOpened(const char* file, unsigned int line) const {
  if (closed) throw IOException("Buffered binary output channel is closed.", file, line);
}

void BufferedOBinaryChannel::WriteGathered() {
  if (gathered == 0) return;
  wrapped.Get().Write(buffer.get(), gathered);
  gathered = 0;
}

}  // namespace Vx
