#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/OBinaryChannel.h"
#include "foundation/Vx/OProtocolX.h"
#include "foundation/Vx/ProtocolValue.h"

namespace Vx {

/// Writes values to a binary channel in the form that a protocol defines. Holds nothing back, and
/// leaves the channel open when it is destroyed. Failures are those of the channel and the
/// protocol.
class FOUNDATION_API OChannelX final {
 public:
  OChannelX(OBinaryChannel& target, const OProtocolX& form) noexcept
      : channel(target), protocol(form) {}
  OChannelX(const OChannelX&) = delete;
  OChannelX& operator=(const OChannelX&) = delete;

  template <PrimitiveValue T>
  void Write(const T& value) {
    protocol.Write(channel, value);
  }
  /// As `OProtocolX` has it: the number of 16-bit units and each of them, which is not the form of
  /// Java's `writeUTF`.
  template <std::same_as<UniString> T>
  void Write(const T& value) {
    protocol.Write(channel, value);
  }

  /// Bytes as they are. A size of 0 does not reach the channel.
  void WriteBin(const char* data, unsigned int size) {
    if (size != 0) channel.Write(data, size);
  }

  void Flush() { channel.Flush(); }

 private:
  OBinaryChannel& channel;
  const OProtocolX& protocol;
};

}  // namespace Vx
