#include "foundation/Vx/IProtocol.h"

#include "foundation/Vx/StatusCode.h"

namespace Vx {

IProtocol::~IProtocol() = default;

int IProtocol::Read(IChannel& channel, Guid& value) {
  Guid guid;
  int status = Read(channel, guid.data1);
  if (status != 0) return status;
  status = Read(channel, guid.data2);
  if (status == 0) status = Read(channel, guid.data3);
  for (unsigned char& byte : guid.data4) {
    if (status == 0) status = Read(channel, byte);
  }
  if (status == 0) value = guid;
  return status == StatusEndOfInput ? StatusTruncated : status;
}

}  // namespace Vx
