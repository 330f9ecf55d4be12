#include "foundation/Vx/IChannelX.h"

#include <algorithm>

namespace Vx {

unsigned __int64 IChannelX::Skip(unsigned __int64 size) {
  char dropped[4096];
  unsigned __int64 skipped = 0;
  while (skipped < size) {
    const auto wanted =
        static_cast<unsigned int>(std::min<unsigned __int64>(size - skipped, sizeof(dropped)));
    const unsigned int count = channel.Read(dropped, wanted, IBinaryChannel::ReadSome);
    if (count == 0) break;
    skipped += count;
  }
  return skipped;
}

}  // namespace Vx
