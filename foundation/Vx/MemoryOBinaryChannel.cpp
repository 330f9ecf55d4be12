#include "foundation/Vx/MemoryOBinaryChannel.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "foundation/Vx/IOException.h"

namespace Vx {
namespace {

constexpr unsigned int FirstCapacity = 64;
constexpr unsigned int MaxCapacity = 0x7FFFFFFFU;

}  // namespace

MemoryOBinaryChannel::MemoryOBinaryChannel() noexcept = default;
MemoryOBinaryChannel::~MemoryOBinaryChannel() = default;

void MemoryOBinaryChannel::Write(const char* data, unsigned int size) {
  CheckOpened();
  if (size == 0) return;
  Reserve(size);
  std::memcpy(content.get() + written, data, size);
  written += size;
}

std::span<char> MemoryOBinaryChannel::GetRoom(unsigned int size) {
  CheckOpened();
  Reserve(size);
  return {content.get() + written, capacity - written};
}

void MemoryOBinaryChannel::Flush() {
  CheckOpened();
}

void MemoryOBinaryChannel::Close() {
  closed = true;
}

void MemoryOBinaryChannel::Reserve(unsigned int size) {
  if (size <= capacity - written) return;
  if (size > MaxCapacity - written) ThrowOutOfMemory();
  const unsigned int doubled = std::min(2 * capacity, MaxCapacity);
  const unsigned int grown = std::max({written + size, doubled, FirstCapacity});
  ByteArray larger = NewByteArray(grown);
  if (written != 0) std::memcpy(larger.get(), content.get(), written);
  content = std::move(larger);
  capacity = grown;
}

void MemoryOBinaryChannel::CheckOpened(const char* file, unsigned int line) const {
  if (closed) throw IOException("Memory binary output channel is closed.", file, line);
}

}  // namespace Vx
