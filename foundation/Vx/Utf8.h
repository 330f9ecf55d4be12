#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "foundation/Export.h"

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

/// How far `DecodeSome` came.
struct Progress {
  std::size_t bytes;
  std::size_t units;
};

/// Decodes as many sequences as `target`, of at least two units, has room for. Takes no bytes only
/// where there are none, or the first ones are malformed.
[[nodiscard]] Progress DecodeSome(std::string_view bytes, Form form,
                                  std::span<char16_t> target) noexcept;

/// The number of bytes that `EncodeJava` makes of `text`.
[[nodiscard]] FOUNDATION_API std::size_t GetJavaSize(std::u16string_view text) noexcept;

/// Encodes each unit by itself, and U+0000 as C0 80; returns the end of what it wrote.
FOUNDATION_API char* EncodeJava(std::u16string_view text, char* target) noexcept;

/// Encodes one character, or one surrogate unit, into `target`; returns the bytes used, 1 to 4.
[[nodiscard]] std::size_t Encode(char32_t character, char (&target)[4]) noexcept;

}  // namespace Vx::Utf8
