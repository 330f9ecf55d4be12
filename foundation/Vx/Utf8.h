#pragma once

#include <cstddef>
#include <string_view>

namespace Vx::Utf8 {

/// How strictly a sequence is read.
enum class Form {
  Standard,  // RFC 3629: no surrogates, no overlong forms
  Java,      // also C0 80 for U+0000, and surrogates as three-byte sequences
};

/// One decoded sequence. `length` 0 means that the bytes are malformed.
struct Sequence {
  char32_t character;
  std::size_t length;
};

/// Decodes the sequence at the head of `bytes`, which must not be empty.
[[nodiscard]] Sequence Decode(std::string_view bytes, Form form) noexcept;

/// Encodes one character, or one surrogate unit, into `target`; gives the bytes used, 1 to 4.
[[nodiscard]] std::size_t Encode(char32_t character, char (&target)[4]) noexcept;

[[nodiscard]] constexpr bool IsHighSurrogate(char32_t unit) noexcept {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
[[nodiscard]] constexpr bool IsLowSurrogate(char32_t unit) noexcept {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// The character at `index` of UTF-16 text. A surrogate without its partner stands for itself.
struct Utf16Character {
  char32_t character;
  std::size_t units;
};
[[nodiscard]] Utf16Character DecodeUtf16(std::u16string_view text, std::size_t index) noexcept;

/// Writes `character` as one or two units; gives their number.
[[nodiscard]] std::size_t EncodeUtf16(char32_t character, char16_t (&target)[2]) noexcept;

}  // namespace Vx::Utf8
