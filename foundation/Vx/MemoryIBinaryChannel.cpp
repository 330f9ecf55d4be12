#include "foundation/Vx/MemoryIBinaryChannel.h"

#include <algorithm>
#include <cstring>

#include "foundation/Vx/IOException.h"

namespace Vx {

MemoryIBinaryChannel::MemoryIBinaryChannel(const char* data, unsigned int size) noexcept
    : next(data), left(size) {}

MemoryIBinaryChannel::~MemoryIBinaryChannel() = default;

unsigned int MemoryIBinaryChannel::Read(char* buffer, unsigned int size, ReadSomeModeSelector) {
  CheckOpened();
  const unsigned int count = std::min(size, left);
  if (count == 0) return 0;
  std::memcpy(buffer, next, count);
  Advance(count);
  return count;
}

unsigned int MemoryIBinaryChannel::Read(char* buffer, unsigned int size, ReadAllModeSelector) {
  return size == 0 ? 0 : Read(buffer, size, ReadSome);
}

std::string_view MemoryIBinaryChannel::Peek() {
  CheckOpened();
  return {next, left};
}

void MemoryIBinaryChannel::Advance(unsigned int size) {
  next += size;
  left -= size;
}

unsigned __int64 MemoryIBinaryChannel::Skip(unsigned __int64 size) {
  CheckOpened();
  const auto count = static_cast<unsigned int>(std::min<unsigned __int64>(size, left));
  Advance(count);
  return count;
}

unsigned __int64 MemoryIBinaryChannel::GetAvailable() const {
  CheckOpened();
  return left;
}

void MemoryIBinaryChannel::Close() {
  closed = true;
}

void MemoryIBinaryChannel::CheckOpened(const char* file, unsigned int line) const {
  if (closed) throw IOException("Memory binary input channel is closed.", file, line);
}

}  // namespace Vx
