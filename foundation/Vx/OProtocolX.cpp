#include "foundation/Vx/OProtocolX.h"

namespace Vx {

OProtocolX::~OProtocolX() = default;

void OProtocolX::Write(OBinaryChannel& channel, const Guid& value) const {
  Write(channel, value.data1);
  Write(channel, value.data2);
  Write(channel, value.data3);
  for (const unsigned char byte : value.data4) Write(channel, byte);
}

void OProtocolX::Write(OBinaryChannel& channel, const UniString& value) const {
  Write(channel, value.GetLength());
  for (const UniChar unit : value.GetView()) Write(channel, static_cast<unsigned short>(unit));
}

}  // namespace Vx
