#include "Larkspan/Common/IO/JavaDataInputProtocolUtils.h"

#include "Larkspan/Common/IO/BigEndian.h"
#include "foundation/Vx/EndOfInputException.h"
#include "foundation/Vx/IBinaryChannelUtilities.h"

namespace Larkspan::Common::IO {
namespace {

void ReadBytes(Vx::IChannelX& channel, char* buffer, unsigned int size) {
  if (Vx::IBinaryChannelUtilities::ReadFully(channel, buffer, size) != size) {
    throw Vx::EndOfInputException("End of input reached.", __FILE__, __LINE__);
  }
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

}  // namespace Larkspan::Common::IO
