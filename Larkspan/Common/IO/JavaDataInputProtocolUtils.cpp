#include "Larkspan/Common/IO/JavaDataInputProtocolUtils.h"

#include "Larkspan/Common/IO/BigEndian.h"
#include "Larkspan/Common/IO/StatusChannelValue.h"
#include "foundation/Vx/EndOfInputException.h"
#include "foundation/Vx/IBinaryChannelUtilities.h"
#include "foundation/Vx/VxException.h"

namespace Larkspan::Common::IO {
namespace {

void ReadBytes(Vx::IChannelX& channel, char* buffer, unsigned int size) {
  if (Vx::IBinaryChannelUtilities::ReadFully(channel, buffer, size) != size) {
    throw Vx::EndOfInputException("End of input reached.", __FILE__, __LINE__);
  }
}

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
  BigEndian::Bytes<unsigned short> prefix;
  ReadBytes(channel, prefix.data(), static_cast<unsigned int>(prefix.size()));
  const unsigned int length = BigEndian::Decode<unsigned short>(prefix);
  const Vx::ByteArray bytes = Vx::NewByteArray(std::size_t{length} + 1);
  if (length != 0) ReadBytes(channel, bytes.get(), length);
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
