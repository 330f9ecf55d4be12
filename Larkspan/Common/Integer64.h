#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common {

/// Decimal literals of 64-bit integers, -2^63 to 2^63 - 1. Leading blanks and a sign are taken, and
/// what follows the digits is not looked at.
class LARKSPAN_API Integer64 {
 public:
  /// Reads `literal` into `value` and returns true; returns false, and leaves `value` alone, if no
  /// number stands there or if it does not fit.
  /// Throws `Vx::IllegalArgumentException` for an empty literal.
  [[nodiscard]] static bool Parse(const Vx::UniString& literal, Vx::Int64& value);

  /// The same with the value as result; throws `Vx::ConversionErrorException` where the other form
  /// returns false.
  [[nodiscard]] static Vx::Int64 Parse(const Vx::UniString& literal);

  /// In decimal, a negative value with a minus sign.
  [[nodiscard]] static Vx::UniString ToString(Vx::Int64 value);

  /// In hexadecimal: lower-case digits without a prefix or leading zeros; of a negative value the
  /// two's complement, sixteen digits. `Parse` does not read it.
  [[nodiscard]] static Vx::UniString ToHexString(Vx::Int64 value);
};

}  // namespace Larkspan::Common
