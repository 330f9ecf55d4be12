#include "Larkspan/Common/IO/JavaDataOutputProtocol.h"

#include "Larkspan/Common/IO/JavaDataOutputProtocolUtils.h"
#include "Larkspan/Common/IO/StatusChannelValue.h"
#include "foundation/Vx/Immortal.h"
#include "foundation/Vx/VxException.h"

namespace Larkspan::Common::IO {

using StatusChannel::WriteValue;

JavaDataOutputProtocol::JavaDataOutputProtocol() noexcept = default;
JavaDataOutputProtocol::JavaDataOutputProtocol(const JavaDataOutputProtocol&) noexcept = default;
JavaDataOutputProtocol& JavaDataOutputProtocol::operator=(const JavaDataOutputProtocol&) noexcept =
    default;
JavaDataOutputProtocol::~JavaDataOutputProtocol() = default;

JavaDataOutputProtocol& JavaDataOutputProtocol::GetInstance() {
  return Vx::GetImmortal<JavaDataOutputProtocol>();
}

int JavaDataOutputProtocol::Write(Vx::OChannel& channel, const Vx::Object& value) {
  const auto* const text = dynamic_cast<const Vx::UniString*>(&value);
  return text == nullptr ? channel.Write(value) : WriteUTF(channel, *text);
}

int JavaDataOutputProtocol::Write(Vx::OChannel& channel, const char* value) {
  try {
    return WriteUTF(channel, Vx::UniString(value, VxCharCodePlain));
  } catch (const VxException&) {
    return Vx::StatusWriteError;
  }
}

int JavaDataOutputProtocol::Write(Vx::OChannel&, const void*) {
  return Vx::StatusSuccess;
}

int JavaDataOutputProtocol::Write(Vx::OChannel& channel, long double value) {
  return WriteValue(channel, value);
}

int JavaDataOutputProtocol::Write(Vx::OChannel& channel, double value) {
  return WriteValue(channel, value);
}

int JavaDataOutputProtocol::Write(Vx::OChannel& channel, float value) {
  return WriteValue(channel, value);
}

int JavaDataOutputProtocol::Write(Vx::OChannel& channel, unsigned __int64 value) {
  return WriteValue(channel, value);
}

int JavaDataOutputProtocol::Write(Vx::OChannel& channel, __int64 value) {
  return WriteValue(channel, value);
}

int JavaDataOutputProtocol::Write(Vx::OChannel& channel, unsigned long value) {
  return WriteValue(channel, value);
}

int JavaDataOutputProtocol::Write(Vx::OChannel& channel, long value) {
  return WriteValue(channel, value);
}

int JavaDataOutputProtocol::Write(Vx::OChannel& channel, unsigned int value) {
  return WriteValue(channel, value);
}

int JavaDataOutputProtocol::Write(Vx::OChannel& channel, int value) {
  return WriteValue(channel, value);
}

int JavaDataOutputProtocol::Write(Vx::OChannel& channel, unsigned short value) {
  return WriteValue(channel, value);
}

int JavaDataOutputProtocol::Write(Vx::OChannel& channel, short value) {
  return WriteValue(channel, value);
}

int JavaDataOutputProtocol::Write(Vx::OChannel& channel, bool value) {
  return WriteValue(channel, value);
}

int JavaDataOutputProtocol::Write(Vx::OChannel& channel, unsigned char value) {
  return WriteValue(channel, value);
}

int JavaDataOutputProtocol::Write(Vx::OChannel& channel, char value) {
  return WriteValue(channel, value);
}

void JavaDataOutputProtocol::Note(Vx::OChannel&, unsigned int, unsigned int, const char*) {}

}  // namespace Larkspan::Common::IO
