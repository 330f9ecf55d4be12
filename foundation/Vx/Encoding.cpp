#include "foundation/Vx/Encoding.h"

#include "foundation/Vx/ConversionErrorException.h"
#include "foundation/Vx/IllegalArgumentException.h"
#include "foundation/Vx/Utf16.h"
#include "foundation/Vx/Utf8.h"

namespace Vx {
namespace {

// Units that are converted on the stack at a time.
constexpr std::size_t StepSize = 512;

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
  char bytes[3 * StepSize];
  for (std::size_t index = 0; index < text.size(); index += StepSize) {
    const char* const end = Utf8::EncodeJava(text.substr(index, StepSize), bytes);
    target.Append(std::string_view(bytes, end));
  }
}

void DecodePlain(std::string_view bytes, UniString& target) {
  for (const char byte : bytes) target.Append(UniChar{static_cast<unsigned char>(byte)});
}

void DecodeUtf8(std::string_view bytes, Utf8::Form form, UniString& target) {
  while (!bytes.empty()) {
    UniChar units[StepSize];
    const Utf8::Progress next = Utf8::DecodeSome(bytes, form, units);
    if (next.bytes == 0) {
      throw ConversionErrorException("Failed to convert bytes: malformed UTF-8.", __FILE__,
                                     __LINE__);
    }
    target.Append(std::u16string_view(units, next.units));
    bytes.remove_prefix(next.bytes);
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
