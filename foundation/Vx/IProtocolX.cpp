#include "foundation/Vx/IProtocolX.h"

#include <utility>

namespace Vx {

IProtocolX::~IProtocolX() = default;

void IProtocolX::Read(IBinaryChannel& channel, Guid& value) const {
  Guid guid;
  Read(channel, guid.data1);
  Read(channel, guid.data2);
  Read(channel, guid.data3);
  for (unsigned char& byte : guid.data4) Read(channel, byte);
  value = guid;
}

void IProtocolX::Read(IBinaryChannel& channel, UniString& value) const {
  unsigned int count = 0;
  Read(channel, count);
  // Don't allocate from an untrusted count: the text grows with the units that really come.
  UniString text;
  for (unsigned int index = 0; index < count; ++index) {
    unsigned short unit = 0;
    Read(channel, unit);
    text.Append(static_cast<UniChar>(unit));
  }
  value = std::move(text);
}

}  // namespace Vx
