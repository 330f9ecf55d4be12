#include "foundation/Vx/Encoding.h"

#include "foundation/Vx/ConversionErrorException.h"
#include "foundation/Vx/IllegalArgumentException.h"
#include "foundation/Vx/Utf16.h"
#include "foundation/Vx/Utf8.h"

namespace Vx {
namespace {

constexpr char32_t ReplacementCharacter = 0xFFFD;

void EncodePlain(std::u16string_view text, OnConversionError onError, String& target) {
  for (const UniChar unit : text) {
    if (unit > 0xFF && onError == OnConversionErrorFail) {
      throw ConversionErrorException("Failed to convert text: a character has no single byte.",
                                     __FILE__, __LINE__);
    }
    target.Append(unit > 0xFF ? '?' : static_cast<char>(static_cast<unsigned char>(unit)));
  }
}

void AppendCharacter(char32_t character, String& target) {
  char bytes[4];
  const std::size_t length = Utf8::Encode(character, bytes);
  target.Append(std::string_view(bytes, length));
}

void EncodeDebug(std::u16string_view text, String& target) {
  for (std::size_t index = 0; index < text.size();) {
    const Utf16::Character next = Utf16::Decode(text, index);
    AppendCharacter(Utf16::IsSurrogate(next.code) ? ReplacementCharacter : next.code, target);
    index += next.units;
  }
}

void EncodeJava(std::u16string_view text, String& target) {
  for (const UniChar unit : text) {
    if (unit == 0) {
      target.Append(std::string_view("\xC0\x80", 2));
    } else {
      AppendCharacter(unit, target);
    }
  }
}

void DecodePlain(std::string_view bytes, UniString& target) {
  for (const char byte : bytes) target.Append(UniChar{static_cast<unsigned char>(byte)});
}

void DecodeUtf8(std::string_view bytes, Utf8::Form form, UniString& target) {
  while (!bytes.empty()) {
    const Utf8::Sequence next = Utf8::Decode(bytes, form);
    if (next.length == 0) {
      throw ConversionErrorException("Failed to convert bytes: malformed UTF-8.", __FILE__,
                                     __LINE__);
    }
    char16_t units[2];
    target.Append(std::u16string_view(units, Utf16::Encode(next.character, units)));
    bytes.remove_prefix(next.length);
  }
}

[[noreturn]] void FailUnknownCode() {
  throw IllegalArgumentException("Invalid character code.", __FILE__, __LINE__);
}

}  // namespace

void EncodeText(std::u16string_view text, VxCharCode code, OnConversionError onError,
                String& target) {
  switch (code) {
    case VxCharCodePlain:
      return EncodePlain(text, onError, target);
    case VxCharCodeDebug:
      return EncodeDebug(text, target);
    case VxCharCodeUTF:
      return EncodeJava(text, target);
  }
  FailUnknownCode();
}

void DecodeText(std::string_view bytes, VxCharCode code, UniString& target) {
  switch (code) {
    case VxCharCodePlain:
      return DecodePlain(bytes, target);
    case VxCharCodeDebug:
      return DecodeUtf8(bytes, Utf8::Form::Standard, target);
    case VxCharCodeUTF:
      return DecodeUtf8(bytes, Utf8::Form::Java, target);
  }
  FailUnknownCode();
}

}  // namespace Vx
