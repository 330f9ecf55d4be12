#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/IProtocolX.h"

namespace Vx {

/// Reads values from a binary channel in the form that a protocol defines. Reads nothing ahead, and
/// leaves the channel open when it is destroyed. Failures are those of the channel and the
/// protocol.
class FOUNDATION_API IChannelX final {
 public:
  IChannelX(IBinaryChannel& source, const IProtocolX& form) noexcept
      : channel(source), protocol(form) {}
  IChannelX(const IChannelX&) = delete;
  IChannelX& operator=(const IChannelX&) = delete;

  /// Any type of the protocol.
  template <class T>
  void Read(T& value) {
    protocol.Read(channel, value);
  }

  /// Bytes as they are; falls short of `size` only at the end of input.
  [[nodiscard]] unsigned int ReadBin(char* buffer, unsigned int size) {
    return channel.Read(buffer, size, IBinaryChannel::ReadAll);
  }

  /// Reads and drops `size` bytes; returns their number, which is smaller only at the end of input.
  UInt64 Skip(UInt64 size);

 private:
  IBinaryChannel& channel;
  const IProtocolX& protocol;
};

}  // namespace Vx
