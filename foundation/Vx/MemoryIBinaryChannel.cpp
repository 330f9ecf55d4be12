#include "foundation/Vx/MemoryIBinaryChannel.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "foundation/Vx/IOException.h"

namespace Vx {

MemoryIBinaryChannel::MemoryIBinaryChannel(const char* data, unsigned int size) noexcept
    : left(data, size) {}

MemoryIBinaryChannel::MemoryIBinaryChannel(std::string_view data) noexcept : left(data) {}

MemoryIBinaryChannel::~MemoryIBinaryChannel() = default;

unsigned int MemoryIBinaryChannel::Read(char* buffer, unsigned int size, ReadSomeModeSelector) {
  CheckOpened();
  const auto count = static_cast<unsigned int>(std::min<std::size_t>(size, left.size()));
  if (count == 0) return 0;
  std::memcpy(buffer, left.data(), count);
  Advance(count);
  return count;
}

unsigned int MemoryIBinaryChannel::Read(char* buffer, unsigned int size, ReadAllModeSelector) {
  return size == 0 ? 0 : Read(buffer, size, ReadSome);
}

std::string_view MemoryIBinaryChannel::Peek() {
  CheckOpened();
  return left.substr(0, std::numeric_limits<unsigned int>::max());  // what `Advance` can be given
}

void MemoryIBinaryChannel::Advance(unsigned int size) {
  left.remove_prefix(size);
}

unsigned __int64 MemoryIBinaryChannel::Skip(unsigned __int64 size) {
  CheckOpened();
  const auto count = std::min<unsigned __int64>(size, left.size());
  left.remove_prefix(count);
  return count;
}

unsigned __int64 MemoryIBinaryChannel::GetAvailable() const {
  CheckOpened();
  return left.size();
}

void MemoryIBinaryChannel::Close() {
  closed = true;
}

void MemoryIBinaryChannel::CheckOpened(const char* file, unsigned int line) const {
  if (closed) throw IOException("Memory binary input channel is closed.", file, line);
}

}  // namespace Vx
