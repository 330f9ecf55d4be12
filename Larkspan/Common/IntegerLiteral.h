#pragma once

#include <type_traits>

#include "foundation/Vx/ConversionErrorException.h"
#include "foundation/Vx/IllegalArgumentException.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common {

/// The literals of one integer type: all of what the integer classes do, with a row of the words
/// in which they differ.
template <class T>
struct IntegerLiteral {
  static constexpr const char* EmptyMessage =
      std::is_signed_v<T> ? "Invalid integer literal: literal is empty."
                          : "Invalid unsigned integer literal: literal is empty.";

  const char* format;  // of the scanner and of the printer
  const char* refusedMessage;

  [[nodiscard]] bool Parse(const Vx::UniString& literal, T& value) const {
    if (literal.IsEmpty()) {
      throw Vx::IllegalArgumentException(EmptyMessage, __FILE__, __LINE__);
    }
    return literal.Scanf(format, &value) == 1;
  }

  [[nodiscard]] T Parse(const Vx::UniString& literal) const {
    T value{};
    if (!Parse(literal, value)) {
      throw Vx::ConversionErrorException(refusedMessage, __FILE__, __LINE__);
    }
    return value;
  }

  [[nodiscard]] Vx::UniString ToString(T value) const { return Print(format, value); }

  /// A negative value shows its two's complement.
  [[nodiscard]] static Vx::UniString ToHexString(T value) { return Print("%x", value); }

 private:
  static Vx::UniString Print(const char* form, T value) {
    Vx::UniString text;
    text.Printf(form, value);
    return text;
  }
};

}  // namespace Larkspan::Common
