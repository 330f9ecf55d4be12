#include "foundation/Vx/IBinaryChannel.h"

#include <algorithm>
#include <limits>

#include "foundation/Vx/IllegalArgumentException.h"

namespace Vx {
namespace {

// What one call with a 32-bit size can be asked for.
unsigned int LimitSize(std::size_t size) noexcept {
  return static_cast<unsigned int>(
      std::min<std::size_t>(size, std::numeric_limits<unsigned int>::max()));
}

}  // namespace

IBinaryChannel::~IBinaryChannel() = default;

unsigned int IBinaryChannel::Read(char* buffer, unsigned int size, ReadAllModeSelector) {
  unsigned int total = 0;
  while (total < size) {
    const unsigned int count = Read(buffer + total, size - total, ReadSome);
    if (count == 0) break;
    total += count;
  }
  return total;
}

std::size_t IBinaryChannel::Read(std::span<std::byte> buffer, ReadSomeModeSelector mode) {
  return Read(reinterpret_cast<char*>(buffer.data()), LimitSize(buffer.size()), mode);
}

std::size_t IBinaryChannel::Read(std::span<std::byte> buffer, ReadAllModeSelector mode) {
  std::size_t total = 0;
  for (;;) {
    const std::span<std::byte> left = buffer.subspan(total);
    const unsigned int wanted = LimitSize(left.size());
    const unsigned int count = Read(reinterpret_cast<char*>(left.data()), wanted, mode);
    total += count;
    if (count < wanted || total == buffer.size()) return total;
  }
}

unsigned int IBinaryChannel::CheckSize(std::size_t size) {
  if (size > std::numeric_limits<unsigned int>::max()) {
    throw IllegalArgumentException("Invalid size: it does not fit 32 bits.", __FILE__, __LINE__);
  }
  return static_cast<unsigned int>(size);
}

}  // namespace Vx
