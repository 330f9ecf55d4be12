#include "foundation/Vx/OProtocol.h"

namespace Vx {

OProtocol::~OProtocol() = default;

int OProtocol::Write(OChannel& channel, const Guid& value) {
  int status = Write(channel, value.data1);
  if (status == 0) status = Write(channel, value.data2);
  if (status == 0) status = Write(channel, value.data3);
  for (const unsigned char byte : value.data4) {
    if (status == 0) status = Write(channel, byte);
  }
  return status;
}

}  // namespace Vx
