#pragma once

#include "Larkspan/Common/IO/BigEndian.h"
#include "foundation/Vx/EndOfInputException.h"
#include "foundation/Vx/IBinaryChannelUtilities.h"

/// Values on channels that fail by exception: the bytes of `BigEndian`, and one rule for the end of
/// the input. `Channel` is a `Vx::IBinaryChannel` or a `Vx::IChannelX`.
namespace Larkspan::Common::IO::ChannelX {

/// Reads `size` bytes. Throws `Vx::EndOfInputException` if there are fewer.
template <class Channel>
void ReadBytes(Channel& channel, char* target, unsigned int size) {
  if (Vx::IBinaryChannelUtilities::ReadFully(channel, target, size) != size) {
    throw Vx::EndOfInputException("End of input reached.", __FILE__, __LINE__);
  }
}

/// Reads one value; if that fails, it stays as it was.
template <class Channel, class T>
void ReadValue(Channel& channel, T& value) {
  BigEndian::Bytes<T> bytes;
  ReadBytes(channel, bytes.data(), static_cast<unsigned int>(bytes.size()));
  value = BigEndian::Decode<T>(bytes);
}

}  // namespace Larkspan::Common::IO::ChannelX
