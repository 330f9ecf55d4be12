#include "Larkspan/Common/IO/JavaDataOutputProtocolUtils.h"

#include "Larkspan/Common/IO/BigEndian.h"
#include "Larkspan/Common/IO/StatusChannelValue.h"
#include "foundation/Vx/DataIntegrityException.h"
#include "foundation/Vx/VxException.h"

namespace Larkspan::Common::IO {
namespace {

// The text in the form that goes on the channel: what stands before the first zero byte.
Vx::String EncodeUTF(const Vx::UniString& text) {
  const Vx::ByteArray bytes = text.ToCStr(0, Vx::ToEnd, VxCharCodeUTF, OnConversionErrorFail);
  return Vx::String(bytes.get());
}

int WriteText(Vx::OChannel& channel, const Vx::UniString& text) {
  const Vx::String bytes = EncodeUTF(text);
  const unsigned int length = bytes.GetLength();
  if (length > MaxUTFSize) return Vx::StatusWriteError;
  const int status = StatusChannel::WriteValue(channel, static_cast<unsigned short>(length));
  if (status != Vx::StatusSuccess || length == 0) return status;
  return channel.WriteBin(bytes.GetBuffer(), length, nullptr);
}

}  // namespace

unsigned int GetUTFSize(const Vx::UniString& text) {
  return EncodeUTF(text).GetLength();
}

void WriteUTF(Vx::OChannelX& channel, const Vx::UniString& text) {
  const Vx::String bytes = EncodeUTF(text);
  const unsigned int length = bytes.GetLength();
  if (length > MaxUTFSize) {
    throw Vx::DataIntegrityException("String length exceeds limit.", __FILE__, __LINE__);
  }
  const auto prefix = BigEndian::Encode(static_cast<unsigned short>(length));
  channel.WriteBin(prefix.data(), static_cast<unsigned int>(prefix.size()));
  if (length != 0) channel.WriteBin(bytes.GetBuffer(), length);
}

int WriteUTF(Vx::OChannel& channel, const Vx::UniString& text) {
  try {
    return WriteText(channel, text);
  } catch (const VxException&) {
    return Vx::StatusWriteError;
  }
}

}  // namespace Larkspan::Common::IO
