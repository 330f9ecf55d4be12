#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/IChannelX.h"

namespace Vx {

class FOUNDATION_API IBinaryChannelUtilities final {
 public:
  IBinaryChannelUtilities() = delete;

  /// Reads `size` bytes; returns their number, which is smaller only at the end of input.
  [[nodiscard]] static unsigned int ReadFully(IBinaryChannel& channel, char* buffer,
                                              unsigned int size) {
    return channel.Read(buffer, size, IBinaryChannel::ReadAll);
  }
  [[nodiscard]] static unsigned int ReadFully(IChannelX& channel, char* buffer, unsigned int size) {
    return channel.ReadBin(buffer, size);
  }
};

}  // namespace Vx
