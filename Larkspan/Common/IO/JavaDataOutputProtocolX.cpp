#include "Larkspan/Common/IO/JavaDataOutputProtocolX.h"

#include "Larkspan/Common/IO/BigEndian.h"
#include "foundation/Vx/Immortal.h"

namespace Larkspan::Common::IO {
namespace {

template <class T>
void WriteValue(Vx::OBinaryChannel& channel, T value) {
  const auto bytes = BigEndian::Encode(value);
  channel.Write(bytes.data(), static_cast<unsigned int>(bytes.size()));
}

}  // namespace

JavaDataOutputProtocolX::JavaDataOutputProtocolX() noexcept = default;
JavaDataOutputProtocolX::JavaDataOutputProtocolX(const JavaDataOutputProtocolX&) noexcept = default;
JavaDataOutputProtocolX& JavaDataOutputProtocolX::operator=(
    const JavaDataOutputProtocolX&) noexcept = default;
JavaDataOutputProtocolX::~JavaDataOutputProtocolX() = default;

const JavaDataOutputProtocolX& JavaDataOutputProtocolX::GetInstance() {
  return Vx::GetImmortal<const JavaDataOutputProtocolX>();
}

void JavaDataOutputProtocolX::Write(Vx::OBinaryChannel& channel, long double value) const {
  WriteValue(channel, value);
}

void JavaDataOutputProtocolX::Write(Vx::OBinaryChannel& channel, double value) const {
  WriteValue(channel, value);
}

void JavaDataOutputProtocolX::Write(Vx::OBinaryChannel& channel, float value) const {
  WriteValue(channel, value);
}

void JavaDataOutputProtocolX::Write(Vx::OBinaryChannel& channel, unsigned __int64 value) const {
  WriteValue(channel, value);
}

void JavaDataOutputProtocolX::Write(Vx::OBinaryChannel& channel, __int64 value) const {
  WriteValue(channel, value);
}

void JavaDataOutputProtocolX::Write(Vx::OBinaryChannel& channel, unsigned long value) const {
  WriteValue(channel, value);
}

void JavaDataOutputProtocolX::Write(Vx::OBinaryChannel& channel, long value) const {
  WriteValue(channel, value);
}

void JavaDataOutputProtocolX::Write(Vx::OBinaryChannel& channel, unsigned int value) const {
  WriteValue(channel, value);
}

void JavaDataOutputProtocolX::Write(Vx::OBinaryChannel& channel, int value) const {
  WriteValue(channel, value);
}

void JavaDataOutputProtocolX::Write(Vx::OBinaryChannel& channel, unsigned short value) const {
  WriteValue(channel, value);
}

void JavaDataOutputProtocolX::Write(Vx::OBinaryChannel& channel, short value) const {
  WriteValue(channel, value);
}

void JavaDataOutputProtocolX::Write(Vx::OBinaryChannel& channel, bool value) const {
  WriteValue(channel, value);
}

void JavaDataOutputProtocolX::Write(Vx::OBinaryChannel& channel, unsigned char value) const {
  WriteValue(channel, value);
}

void JavaDataOutputProtocolX::Write(Vx::OBinaryChannel& channel, char value) const {
  WriteValue(channel, value);
}

}  // namespace Larkspan::Common::IO
