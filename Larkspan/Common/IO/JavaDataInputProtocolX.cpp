#include "Larkspan/Common/IO/JavaDataInputProtocolX.h"

#include "Larkspan/Common/IO/ChannelXValue.h"
#include "foundation/Vx/Immortal.h"

namespace Larkspan::Common::IO {

using ChannelX::ReadValue;

JavaDataInputProtocolX::JavaDataInputProtocolX() noexcept = default;
JavaDataInputProtocolX::JavaDataInputProtocolX(const JavaDataInputProtocolX&) noexcept = default;
JavaDataInputProtocolX& JavaDataInputProtocolX::operator=(const JavaDataInputProtocolX&) noexcept =
    default;
JavaDataInputProtocolX::~JavaDataInputProtocolX() = default;

const JavaDataInputProtocolX& JavaDataInputProtocolX::GetInstance() {
  return Vx::GetImmortal<const JavaDataInputProtocolX>();
}

void JavaDataInputProtocolX::Read(Vx::IBinaryChannel& channel, long double& value) const {
  ReadValue(channel, value);
}

void JavaDataInputProtocolX::Read(Vx::IBinaryChannel& channel, double& value) const {
  ReadValue(channel, value);
}

void JavaDataInputProtocolX::Read(Vx::IBinaryChannel& channel, float& value) const {
  ReadValue(channel, value);
}

void JavaDataInputProtocolX::Read(Vx::IBinaryChannel& channel, unsigned __int64& value) const {
  ReadValue(channel, value);
}

void JavaDataInputProtocolX::Read(Vx::IBinaryChannel& channel, __int64& value) const {
  ReadValue(channel, value);
}

void JavaDataInputProtocolX::Read(Vx::IBinaryChannel& channel, unsigned long& value) const {
  ReadValue(channel, value);
}

void JavaDataInputProtocolX::Read(Vx::IBinaryChannel& channel, long& value) const {
  ReadValue(channel, value);
}

void JavaDataInputProtocolX::Read(Vx::IBinaryChannel& channel, unsigned int& value) const {
  ReadValue(channel, value);
}

void JavaDataInputProtocolX::Read(Vx::IBinaryChannel& channel, int& value) const {
  ReadValue(channel, value);
}

void JavaDataInputProtocolX::Read(Vx::IBinaryChannel& channel, unsigned short& value) const {
  ReadValue(channel, value);
}

void JavaDataInputProtocolX::Read(Vx::IBinaryChannel& channel, short& value) const {
  ReadValue(channel, value);
}

void JavaDataInputProtocolX::Read(Vx::IBinaryChannel& channel, bool& value) const {
  ReadValue(channel, value);
}

void JavaDataInputProtocolX::Read(Vx::IBinaryChannel& channel, unsigned char& value) const {
  ReadValue(channel, value);
}

void JavaDataInputProtocolX::Read(Vx::IBinaryChannel& channel, char& value) const {
  ReadValue(channel, value);
}

}  // namespace Larkspan::Common::IO
