#include "Larkspan/Common/IO/ChannelCopy.h"

#include "foundation/Vx/Memory.h"

namespace Larkspan::Common::IO {

void CopyChannel(Vx::IBinaryChannel& source, Vx::OBinaryChannel& target, unsigned int stepSize) {
  const Vx::ByteArray buffer = Vx::NewByteArray(stepSize);
  for (;;) {
    const unsigned int count = source.Read(buffer.get(), stepSize, Vx::IBinaryChannel::ReadSome);
    if (count == 0) return;
    target.Write(buffer.get(), count);
  }
}

}  // namespace Larkspan::Common::IO
