#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common {

/// Decimal literals of unsigned 64-bit integers, 0 to 2^64 - 1. Leading blanks and a plus sign are
/// taken, no minus sign, and what follows the digits is not looked at.
class LARKSPAN_API UnsignedInteger64 {
 public:
  /// Reads `literal` into `value` and returns true; returns false, and leaves `value` alone, if no
  /// number stands there or if it does not fit.
  /// Throws `Vx::IllegalArgumentException` for an empty literal.
  [[nodiscard]] static bool Parse(const Vx::UniString& literal, Vx::UInt64& value);

  /// The same with the value as result; throws `Vx::ConversionErrorException` where the other form
  /// returns false.
  [[nodiscard]] static Vx::UInt64 Parse(const Vx::UniString& literal);

  /// In decimal.
  [[nodiscard]] static Vx::UniString ToString(Vx::UInt64 value);

  /// In hexadecimal: lower-case digits without a prefix or leading zeros. `Parse` does not read
  /// it.
  [[nodiscard]] static Vx::UniString ToHexString(Vx::UInt64 value);
};

}  // namespace Larkspan::Common
