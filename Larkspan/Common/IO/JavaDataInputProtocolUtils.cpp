#include "Larkspan/Common/IO/JavaDataInputProtocolUtils.h"

#include <cstddef>

#include "Larkspan/Common/IO/ChannelXValue.h"
#include "Larkspan/Common/IO/StatusChannelValue.h"
#include "foundation/Vx/Memory.h"
#include "foundation/Vx/VxException.h"

namespace Larkspan::Common::IO {
namespace {

// The bytes of a text, with room for a zero behind them; takes memory only for a long one.
class TextBytes {
 public:
  explicit TextBytes(unsigned int length)
      : longBytes(length < sizeof(shortBytes) ? nullptr
                                              : Vx::NewByteArray(std::size_t{length} + 1)) {}
  [[nodiscard]] char* Get() noexcept { return longBytes == nullptr ? shortBytes : longBytes.get(); }

 private:
  char shortBytes[1024];
  const Vx::ByteArray longBytes;
};

int ReadText(Vx::IChannel& channel, Vx::UniString& text) {
  unsigned short length = 0;
  int status = StatusChannel::ReadValue(channel, length);
  if (status != Vx::StatusSuccess) return status;
  TextBytes bytes(length);
  if (length != 0) status = StatusChannel::ReadBytes(channel, bytes.Get(), length);
  if (status != Vx::StatusSuccess) return status;
  bytes.Get()[length] = 0;
  text.Assign(bytes.Get(), VxCharCodeUTF);
  return Vx::StatusSuccess;
}

}  // namespace

void ReadUTF(Vx::IChannelX& channel, Vx::UniString& text) {
  unsigned short length = 0;
  ChannelX::ReadValue(channel, length);
  TextBytes bytes(length);
  if (length != 0) ChannelX::ReadBytes(channel, bytes.Get(), length);
  bytes.Get()[length] = 0;
  text.Assign(bytes.Get(), VxCharCodeUTF);
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
