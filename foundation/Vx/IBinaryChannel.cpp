#include "foundation/Vx/IBinaryChannel.h"

namespace Vx {

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

}  // namespace Vx
