#include "Larkspan/Common/IO/JavaDataInputProtocolUtils.h"

#include <cstddef>

#include "Larkspan/Common/IO/ChannelXValue.h"
#include "Larkspan/Common/IO/StatusChannelValue.h"
#include "foundation/Vx/Memory.h"
#include "foundation/Vx/VxException.h"

namespace Larkspan::Common::IO {
namespace {

int ReadText(Vx::IChannel& channel, Vx::UniString& text) {
  unsigned short length = 0;
  int status = StatusChannel::ReadValue(channel, length);
  if (status != Vx::StatusSuccess) return status;
  const Vx::ByteArray bytes = Vx::NewByteArray(std::size_t{length} + 1);
  if (length != 0) status = StatusChannel::ReadBytes(channel, bytes.get(), length);
  if (status != Vx::StatusSuccess) return status;
  bytes[length] = 0;
  text = Vx::UniString(bytes.get(), VxCharCodeUTF);
  return Vx::StatusSuccess;
}

}  // namespace

void ReadUTF(Vx::IChannelX& channel, Vx::UniString& text) {
  unsigned short length = 0;
  ChannelX::ReadValue(channel, length);
  const Vx::ByteArray bytes = Vx::NewByteArray(std::size_t{length} + 1);
  if (length != 0) ChannelX::ReadBytes(channel, bytes.get(), length);
  bytes[length] = 0;
  text.Assign(bytes.get(), VxCharCodeUTF);
}

Vx::UniString ReadUTF(Vx::IChannelX& channel) {
  Vx::UniString text;
  ReadUTF(channel, text);
  return text;
}

int ReadUTF(Vx::IChannel& channel, Vx::UniString& text) {
  try {
    return ReadText(channel, text);
  } catch (const VxException&) {
    return Vx::StatusReadError;
  }
}

}  // namespace Larkspan::Common::IO
