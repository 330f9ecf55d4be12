#pragma once

#include "Larkspan/Common/IO/BigEndian.h"
#include "foundation/Vx/IChannel.h"
#include "foundation/Vx/OChannel.h"

/// Values on channels that report by status: the bytes of `BigEndian`, and one rule for the end of
/// the input. Nothing here catches anything.
namespace Larkspan::Common::IO::StatusChannel {

/// Reads `size` bytes in one call and returns the status: input that ends after some of them is
/// truncated, input that ends before the first is at its end.
[[nodiscard]] inline int ReadBytes(Vx::IChannel& channel, char* target, unsigned int size) {
  unsigned int delivered = 0;
  const int status = channel.ReadBin(target, size, &delivered);
  return status == Vx::StatusEndOfInput && delivered > 0 ? Vx::StatusTruncated : status;
}

/// Reads one value; with a status other than 0 it stays as it was.
template <class T>
[[nodiscard]] int ReadValue(Vx::IChannel& channel, T& value) {
  BigEndian::Bytes<T> bytes;
  const int status = ReadBytes(channel, bytes.data(), static_cast<unsigned int>(bytes.size()));
  if (status == Vx::StatusSuccess) value = BigEndian::Decode<T>(bytes);
  return status;
}

/// Writes one value in one call and returns the channel's status.
template <class T>
[[nodiscard]] int WriteValue(Vx::OChannel& channel, T value) {
  const auto bytes = BigEndian::Encode(value);
  return channel.WriteBin(bytes.data(), static_cast<unsigned int>(bytes.size()), nullptr);
}

}  // namespace Larkspan::Common::IO::StatusChannel
