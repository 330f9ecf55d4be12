#include "foundation/Vx/UniString.h"

#include <cstring>
#include <new>
#include <random>
#include <utility>

#include "foundation/Vx/Encoding.h"
#include "foundation/Vx/IChannel.h"
#include "foundation/Vx/OChannel.h"
#include "foundation/Vx/SipHash.h"

namespace Vx {
namespace {

SipHash::Key DrawHashKey() noexcept {
  SipHash::Key key{};
  try {
    std::random_device source;
    const auto draw = [&source] {
      return (static_cast<std::uint64_t>(source()) << 32U) | source();
    };
    key = {draw(), draw()};
  } catch (...) {
    // Without a random source the address of this variable still differs from run to run.
    key = {reinterpret_cast<std::uintptr_t>(&key), reinterpret_cast<std::uintptr_t>(&DrawHashKey)};
  }
  return key;
}

/// Decodes bytes of directives as ISO 8859-1 into the text.
class UniStringSink final : public FormatSink {
 public:
  explicit UniStringSink(UniString& text) noexcept : target(text) {}
  virtual ~UniStringSink() = default;
  void AppendBytes(std::string_view bytes) override { target.Append(bytes, VxCharCodePlain); }
  void AppendUnits(std::u16string_view units) override { target.Append(units); }

 private:
  UniString& target;
};

}  // namespace

UniString::UniString() noexcept = default;
UniString::UniString(View text) : BasicString(text) {}
UniString::UniString(const UniChar* text) : BasicString(text == nullptr ? View() : View(text)) {}
UniString::UniString(const char* text, VxCharCode code) {
  if (text != nullptr) Append(text, code);
}
UniString::UniString(const UniString& source) = default;
UniString::UniString(UniString&& source) noexcept = default;
UniString& UniString::operator=(const UniString& source) = default;
UniString& UniString::operator=(UniString&& source) noexcept = default;
UniString::~UniString() = default;

void UniString::Assign(std::string_view bytes, VxCharCode code) {
  UniString decoded;
  DecodeText(bytes, code, decoded);
  *this = std::move(decoded);
}

void UniString::Append(std::string_view bytes, VxCharCode code) {
  UniString decoded;
  DecodeText(bytes, code, decoded);
  Append(decoded.GetView());
}

String UniString::ToBytes(unsigned int start, unsigned int count, VxCharCode code,
                          OnConversionError onError) const {
  String bytes;
  EncodeText(SubView(start, count), code, onError, bytes);
  return bytes;
}

ByteArray UniString::ToCStr(unsigned int start, unsigned int count, VxCharCode code,
                            OnConversionError onError) const {
  const String bytes = ToBytes(start, count, code, onError);
  const std::size_t size = std::size_t{bytes.GetLength()} + 1;
  ByteArray copy = NewByteArray(size);
  std::memcpy(copy.get(), bytes.GetBuffer(), size);
  return copy;
}

UniString UniString::FromUTF8(std::string_view bytes) {
  UniString text;
  text.Assign(bytes, VxCharCodeDebug);
  return text;
}

std::string UniString::ToUTF8() const {
  const String bytes = ToBytes(0, ToEnd, VxCharCodeDebug, OnConversionErrorFail);
  try {
    return std::string(bytes.GetView());
  } catch (const std::bad_alloc&) {
    ThrowOutOfMemory();
  }
}

unsigned int UniString::GenerateHashValue() const noexcept {
  static const SipHash::Key key = DrawHashKey();
  return static_cast<unsigned int>(
      SipHash::Hash(key, GetBuffer(), std::size_t{GetLength()} * sizeof(UniChar)));
}

int UniString::ReadFrom(IChannel& channel) {
  unsigned int count = 0;
  if (const int status = channel.Read(count); status != 0) return status;
  // Don't allocate from an untrusted count: the text grows with the units that really come.
  UniString text;
  for (unsigned int index = 0; index < count; ++index) {
    unsigned short unit = 0;
    if (const int status = channel.Read(unit); status != 0) {
      return status == StatusEndOfInput ? StatusTruncated : status;
    }
    text.Append(static_cast<UniChar>(unit));
  }
  *this = std::move(text);
  return 0;
}

int UniString::WriteTo(OChannel& channel) const {
  if (const int status = channel.Write(GetLength()); status != 0) return status;
  for (const UniChar unit : GetView()) {
    if (const int status = channel.Write(static_cast<unsigned short>(unit)); status != 0) {
      return status;
    }
  }
  return 0;
}

void UniString::AppendFormat(const char* format, const FormatArgument* arguments,
                             std::size_t count) {
  // Formatted apart, so that an argument may be this text and a failure leaves it as it was.
  UniString formatted;
  UniStringSink sink(formatted);
  FormatText(sink, format, arguments, count);
  Append(formatted.GetView());
}

std::ostream& operator<<(std::ostream& stream, const UniString& text) {
  return stream << text.ToUTF8();
}

}  // namespace Vx
