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

/// Encodes one character, or one surrogate unit, into `target`; returns the bytes used, 1 to 4.
[[nodiscard]] std::size_t Encode(char32_t character, char (&target)[4]) noexcept;

}  // namespace Vx::Utf8
