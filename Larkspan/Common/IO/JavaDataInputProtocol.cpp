#include "Larkspan/Common/IO/JavaDataInputProtocol.h"

#include <cstring>

#include "Larkspan/Common/IO/JavaDataInputProtocolUtils.h"
#include "Larkspan/Common/IO/StatusChannelValue.h"
#include "foundation/Vx/Immortal.h"

namespace Larkspan::Common::IO {

using StatusChannel::ReadValue;

JavaDataInputProtocol::JavaDataInputProtocol() noexcept = default;
JavaDataInputProtocol::JavaDataInputProtocol(const JavaDataInputProtocol&) noexcept = default;
JavaDataInputProtocol& JavaDataInputProtocol::operator=(const JavaDataInputProtocol&) noexcept =
    default;
JavaDataInputProtocol::~JavaDataInputProtocol() = default;

JavaDataInputProtocol& JavaDataInputProtocol::GetInstance() {
  return Vx::GetImmortal<JavaDataInputProtocol>();
}

int JavaDataInputProtocol::Read(Vx::IChannel& channel, Vx::Object& value) {
  auto* const text = dynamic_cast<Vx::UniString*>(&value);
  return text == nullptr ? value.ReadFrom(channel) : ReadUTF(channel, *text);
}

int JavaDataInputProtocol::Read(Vx::IChannel& channel, char* value) {
  Vx::UniString text;
  const int status = ReadUTF(channel, text);
  if (status != Vx::StatusSuccess) return status;
  const Vx::ByteArray bytes = text.ToCStr(0, Vx::ToEnd, VxCharCodePlain, OnConversionErrorFail);
  std::memcpy(value, bytes.get(), std::strlen(bytes.get()) + 1);
  return Vx::StatusSuccess;
}

int JavaDataInputProtocol::Read(Vx::IChannel& channel, long double& value) {
  return ReadValue(channel, value);
}

int JavaDataInputProtocol::Read(Vx::IChannel& channel, double& value) {
  return ReadValue(channel, value);
}

int JavaDataInputProtocol::Read(Vx::IChannel& channel, float& value) {
  return ReadValue(channel, value);
}

int JavaDataInputProtocol::Read(Vx::IChannel& channel, unsigned __int64& value) {
  return ReadValue(channel, value);
}

int JavaDataInputProtocol::Read(Vx::IChannel& channel, __int64& value) {
  return ReadValue(channel, value);
}

int JavaDataInputProtocol::Read(Vx::IChannel& channel, unsigned long& value) {
  return ReadValue(channel, value);
}

int JavaDataInputProtocol::Read(Vx::IChannel& channel, long& value) {
  return ReadValue(channel, value);
}

int JavaDataInputProtocol::Read(Vx::IChannel& channel, unsigned int& value) {
  return ReadValue(channel, value);
}

int JavaDataInputProtocol::Read(Vx::IChannel& channel, int& value) {
  return ReadValue(channel, value);
}

int JavaDataInputProtocol::Read(Vx::IChannel& channel, unsigned short& value) {
  return ReadValue(channel, value);
}

int JavaDataInputProtocol::Read(Vx::IChannel& channel, short& value) {
  return ReadValue(channel, value);
}

int JavaDataInputProtocol::Read(Vx::IChannel& channel, bool& value) {
  return ReadValue(channel, value);
}

int JavaDataInputProtocol::Read(Vx::IChannel& channel, unsigned char& value) {
  return ReadValue(channel, value);
}

int JavaDataInputProtocol::Read(Vx::IChannel& channel, char& value) {
  return ReadValue(channel, value);
}

}  // namespace Larkspan::Common::IO
