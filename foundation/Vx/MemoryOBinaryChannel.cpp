#include "foundation/Vx/MemoryOBinaryChannel.h"

#include <string_view>

#include "foundation/Vx/IOException.h"

namespace Vx {

MemoryOBinaryChannel::MemoryOBinaryChannel() noexcept = default;
MemoryOBinaryChannel::~MemoryOBinaryChannel() = default;

void MemoryOBinaryChannel::Write(const char* data, unsigned int size) {
  CheckOpened();
  if (size != 0) content.Append(std::string_view(data, size));
}

void MemoryOBinaryChannel::Flush() {
  CheckOpened();
}

void MemoryOBinaryChannel::Close() {
  closed = true;
}

void MemoryOBinaryChannel::CheckOpened(const char* file, unsigned int line) const {
  if (closed) throw IOException("Memory binary output channel is closed.", file, line);
}

}  // namespace Vx
