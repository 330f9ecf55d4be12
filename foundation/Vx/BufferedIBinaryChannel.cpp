#include "foundation/Vx/BufferedIBinaryChannel.h"

#include <algorithm>
#include <cstring>

#include "foundation/Vx/IOException.h"

namespace Vx {

BufferedIBinaryChannel::BufferedIBinaryChannel(const IBinaryChannelRef& source,
                                               unsigned int bufferSize)
    : wrapped(source, "Invalid binary input channel: channel is null.", __FILE__, __LINE__),
      capacity(bufferSize),
      buffer(NewByteArray(bufferSize)) {}

BufferedIBinaryChannel::BufferedIBinaryChannel(IBinaryChannel& source, unsigned int bufferSize)
    : wrapped(source), capacity(bufferSize), buffer(NewByteArray(bufferSize)) {}

BufferedIBinaryChannel::~BufferedIBinaryChannel() = default;

unsigned int BufferedIBinaryChannel::Read(char* target, unsigned int size,
                                          ReadSomeModeSelector mode) {
  CheckOpened();
  if (size == 0) return 0;
  if (position == filled && size >= capacity) return wrapped.Get().Read(target, size, mode);
  FillUsedUpBuffer();
  const unsigned int count = std::min(size, filled - position);
  std::memcpy(target, buffer.get() + position, count);
  position += count;
  return count;
}

unsigned int BufferedIBinaryChannel::Read(char* target, unsigned int size,
                                          ReadAllModeSelector mode) {
  if (size == 0 || size > filled - position || closed)
    return IBinaryChannel::Read(target, size, mode);
  std::memcpy(target, buffer.get() + position, size);
  position += size;
  return size;
}

std::string_view BufferedIBinaryChannel::Peek() {
  CheckOpened();
  FillUsedUpBuffer();
  return {buffer.get() + position, filled - position};
}

unsigned __int64 BufferedIBinaryChannel::GetAvailable() const {
  CheckOpened();
  return (filled - position) + wrapped.Get().GetAvailable();
}

void BufferedIBinaryChannel::Close() {
  if (closed) return;
  wrapped.Get().Close();
  closed = true;
}

void BufferedIBinaryChannel::FillUsedUpBuffer() {
  if (position != filled) return;
  position = filled = 0;
  filled = wrapped.Get().Read(buffer.get(), capacity, ReadSome);
}

void BufferedIBinaryChannel::CheckOpened(const char* file, unsigned int line) const {
  if (closed) throw IOException("Buffered binary input channel is closed.", file, line);
}

}  // namespace Vx
