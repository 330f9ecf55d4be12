#include "Larkspan/Common/IO/JavaDataOutputProtocolUtils.h"

#include <algorithm>
#include <cstddef>

#include "Larkspan/Common/IO/BigEndian.h"
#include "Larkspan/Common/IO/StatusChannelValue.h"
#include "foundation/Vx/DataIntegrityException.h"
#include "foundation/Vx/Memory.h"
#include "foundation/Vx/Utf8.h"
#include "foundation/Vx/VxException.h"

namespace Larkspan::Common::IO {
namespace {

// The text in the form that goes on the channel; takes memory only for a long one.
class EncodedText {
 public:
  EncodedText(const Vx::UniString& text, unsigned int length)
      : longBytes(length > sizeof(shortBytes) ? Vx::NewByteArray(length) : nullptr) {
    Vx::Utf8::EncodeJava(text.GetView(), longBytes == nullptr ? shortBytes : longBytes.get());
  }
  [[nodiscard]] const char* Get() const noexcept {
    return longBytes == nullptr ? shortBytes : longBytes.get();
  }

 private:
  char shortBytes[1024];
  const Vx::ByteArray longBytes;
};

int WriteText(Vx::OChannel& channel, const Vx::UniString& text) {
  const unsigned int length = GetUTFSize(text);
  if (length > MaxUTFSize) return Vx::StatusWriteError;
  const EncodedText bytes(text, length);
  const int status = StatusChannel::WriteValue(channel, static_cast<unsigned short>(length));
  if (status != Vx::StatusSuccess || length == 0) return status;
  return channel.WriteBin(bytes.Get(), length, nullptr);
}

}  // namespace

unsigned int GetUTFSize(const Vx::UniString& text) {
  const std::size_t size = Vx::Utf8::GetJavaSize(text.GetView());
  return static_cast<unsigned int>(std::min<std::size_t>(size, 0xFFFFFFFFU));
}

void WriteUTF(Vx::OChannelX& channel, const Vx::UniString& text) {
  const unsigned int length = GetUTFSize(text);
  if (length > MaxUTFSize) {
    throw Vx::DataIntegrityException("String length exceeds limit.", __FILE__, __LINE__);
  }
  const EncodedText bytes(text, length);
  const auto prefix = BigEndian::Encode(static_cast<unsigned short>(length));
  channel.WriteBin(prefix.data(), static_cast<unsigned int>(prefix.size()));
  if (length != 0) channel.WriteBin(bytes.Get(), length);
}

int WriteUTF(Vx::OChannel& channel, const Vx::UniString& text) {
  try {
    return WriteText(channel, text);
  } catch (const VxException&) {
    return Vx::StatusWriteError;
  }
}

}  // namespace Larkspan::Common::IO
