#pragma once

#include <cstdint>

#include "foundation/Vx/IChannelX.h"
#include "foundation/Vx/OChannelX.h"

/// Values on a channel by their width, whatever the platform calls the type. `std::int64_t` is
/// `long` on some, which a channel's own `Write` takes for 32 bits.
namespace Larkspan::Interop {

inline void WriteBool(Vx::OChannelX& channel, bool value) {
  channel.Write(value);
}
inline void WriteInt8(Vx::OChannelX& channel, std::int8_t value) {
  channel.Write(static_cast<char>(value));
}
inline void WriteUInt8(Vx::OChannelX& channel, std::uint8_t value) {
  channel.Write(static_cast<unsigned char>(value));
}
inline void WriteInt16(Vx::OChannelX& channel, std::int16_t value) {
  channel.Write(static_cast<short>(value));
}
inline void WriteUInt16(Vx::OChannelX& channel, std::uint16_t value) {
  channel.Write(static_cast<unsigned short>(value));
}
inline void WriteInt32(Vx::OChannelX& channel, std::int32_t value) {
  channel.Write(static_cast<int>(value));
}
inline void WriteUInt32(Vx::OChannelX& channel, std::uint32_t value) {
  channel.Write(static_cast<unsigned int>(value));
}
inline void WriteInt64(Vx::OChannelX& channel, std::int64_t value) {
  channel.Write(static_cast<long long>(value));
}
inline void WriteUInt64(Vx::OChannelX& channel, std::uint64_t value) {
  channel.Write(static_cast<unsigned long long>(value));
}
inline void WriteFloat32(Vx::OChannelX& channel, float value) {
  channel.Write(value);
}
inline void WriteFloat64(Vx::OChannelX& channel, double value) {
  channel.Write(value);
}

[[nodiscard]] inline bool ReadBool(Vx::IChannelX& channel) {
  bool value = false;
  channel.Read(value);
  return value;
}
[[nodiscard]] inline std::int8_t ReadInt8(Vx::IChannelX& channel) {
  char value = 0;
  channel.Read(value);
  return static_cast<std::int8_t>(value);
}
[[nodiscard]] inline std::uint8_t ReadUInt8(Vx::IChannelX& channel) {
  unsigned char value = 0;
  channel.Read(value);
  return value;
}
[[nodiscard]] inline std::int16_t ReadInt16(Vx::IChannelX& channel) {
  short value = 0;
  channel.Read(value);
  return value;
}
[[nodiscard]] inline std::uint16_t ReadUInt16(Vx::IChannelX& channel) {
  unsigned short value = 0;
  channel.Read(value);
  return value;
}
[[nodiscard]] inline std::int32_t ReadInt32(Vx::IChannelX& channel) {
  int value = 0;
  channel.Read(value);
  return value;
}
[[nodiscard]] inline std::uint32_t ReadUInt32(Vx::IChannelX& channel) {
  unsigned int value = 0;
  channel.Read(value);
  return value;
}
[[nodiscard]] inline std::int64_t ReadInt64(Vx::IChannelX& channel) {
  long long value = 0;
  channel.Read(value);
  return value;
}
[[nodiscard]] inline std::uint64_t ReadUInt64(Vx::IChannelX& channel) {
  unsigned long long value = 0;
  channel.Read(value);
  return value;
}
[[nodiscard]] inline float ReadFloat32(Vx::IChannelX& channel) {
  float value = 0;
  channel.Read(value);
  return value;
}
[[nodiscard]] inline double ReadFloat64(Vx::IChannelX& channel) {
  double value = 0;
  channel.Read(value);
  return value;
}

}  // namespace Larkspan::Interop
