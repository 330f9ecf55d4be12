#pragma once

#include <cstddef>
#include <string_view>
#include <type_traits>

#include "foundation/Export.h"
#include "foundation/Vx/Types.h"

namespace Vx {

class String;
class UniString;

/// One argument of a formatted text. Its type decides what is shown; the directive only says how.
/// It refers to what it was made from and lives no longer.
class FormatArgument {
 public:
  enum class Kind { Signed, Unsigned, Float, Byte, Unit, Bytes, Units };

  template <class T>
  requires std::is_arithmetic_v<T> FormatArgument(T value)
  noexcept {
    if constexpr (std::is_same_v<T, char>) {
      kind = Kind::Byte;
      number = static_cast<unsigned char>(value);
    } else if constexpr (std::is_same_v<T, UniChar>) {
      kind = Kind::Unit;
      number = value;
    } else if constexpr (std::is_floating_point_v<T>) {
      kind = Kind::Float;
      real = static_cast<double>(value);
    } else if constexpr (std::is_signed_v<T>) {
      kind = Kind::Signed;
      number = static_cast<UInt64>(static_cast<Int64>(value));
      width = sizeof(T);
    } else {
      kind = Kind::Unsigned;
      number = value;
      width = sizeof(T);
    }
  }
  /// Bytes, taken as they are. Null shows nothing.
  FormatArgument(const char* text) noexcept : bytes(text == nullptr ? std::string_view() : text) {}
  FormatArgument(std::string_view text) noexcept : bytes(text) {}
  FOUNDATION_API FormatArgument(const String& text) noexcept;
  FormatArgument(const UniChar* text) noexcept
      : kind(Kind::Units), units(text == nullptr ? std::u16string_view() : text) {}
  FormatArgument(std::u16string_view text) noexcept : kind(Kind::Units), units(text) {}
  FOUNDATION_API FormatArgument(const UniString& text) noexcept;

  Kind kind = Kind::Bytes;
  std::size_t width = 0;  // of an integer, in bytes
  UInt64 number = 0;
  double real = 0;
  std::string_view bytes;
  std::u16string_view units;
};

/// Where formatted text goes, chunk by chunk.
class FOUNDATION_API FormatSink {
 public:
  virtual void AppendBytes(std::string_view bytes) = 0;
  virtual void AppendUnits(std::u16string_view units) = 0;

 protected:
  ~FormatSink() = default;
};

/// Sends `format` with the arguments filled in to `sink`.
///
/// Directives are those of C's `printf`: flags `-`, `+`, blank, `0`, `#`, a width, a precision,
/// and one of `d i u x X o c s f e g`, with `T` for a text of 16-bit units. `#` is for `x X o`
/// only; unsigned arguments take no sign from `+` and blank. Length modifiers (`h`, `l`, `ll`,
/// ...) are read over. A directive that does not suit its argument shows the argument in its
/// natural form. `%%` is a per-cent sign; a directive without an argument, or one that does not
/// exist, stands as it is.
FOUNDATION_API void FormatText(FormatSink& sink, const char* format,
                               const FormatArgument* arguments, std::size_t count);

}  // namespace Vx
