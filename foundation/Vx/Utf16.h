#pragma once

#include <cstddef>
#include <string_view>

/// UTF-16 text, character by character. Lone surrogates are allowed.
namespace Vx::Utf16 {

[[nodiscard]] constexpr bool IsHighSurrogate(char32_t code) noexcept {
  return code >= 0xD800 && code <= 0xDBFF;
}
[[nodiscard]] constexpr bool IsLowSurrogate(char32_t code) noexcept {
  return code >= 0xDC00 && code <= 0xDFFF;
}
[[nodiscard]] constexpr bool IsSurrogate(char32_t code) noexcept {
  return code >= 0xD800 && code <= 0xDFFF;
}

/// A code point, or a surrogate without its partner.
struct Character {
  char32_t code;
  std::size_t units;
};

/// The character at `index`, which must be less than the text's length.
[[nodiscard]] constexpr Character Decode(std::u16string_view text, std::size_t index) noexcept {
  const char32_t high = text[index];
  if (!IsHighSurrogate(high) || index + 1 == text.size()) return {high, 1};
  const char32_t low = text[index + 1];
  if (!IsLowSurrogate(low)) return {high, 1};
  return {0x10000 + ((high - 0xD800) << 10U) + (low - 0xDC00), 2};
}

/// Writes `code` as one or two units and returns their number.
[[nodiscard]] constexpr std::size_t Encode(char32_t code, char16_t (&target)[2]) noexcept {
  if (code < 0x10000) {
    target[0] = static_cast<char16_t>(code);
    return 1;
  }
  target[0] = static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10U));
  target[1] = static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FFU));
  return 2;
}

/// A byte of a file name as text: the lone surrogate U+DC00 plus the byte. Names on disk are bytes,
/// and those that are not part of valid UTF-8 have no other text.
[[nodiscard]] constexpr char16_t EscapeByte(unsigned char byte) noexcept {
  return static_cast<char16_t>(0xDC00 + byte);
}

/// Whether `code` stands for a byte. Of ASCII only the backslash, which separates names in a path
/// text, is ever escaped: `/` or `.` would let a name climb out of its folder.
[[nodiscard]] constexpr bool IsEscapedByte(char32_t code) noexcept {
  return code == EscapeByte('\\') || (code >= EscapeByte(0x80) && code <= EscapeByte(0xFF));
}

/// The byte that an escape stands for.
[[nodiscard]] constexpr char UnescapeByte(char32_t code) noexcept {
  return static_cast<char>(static_cast<unsigned char>(code - EscapeByte(0)));
}

}  // namespace Vx::Utf16
