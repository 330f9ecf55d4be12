#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common {

/// Decimal literals of unsigned 16-bit integers, 0 to 65535. Leading blanks and a plus sign are
/// taken, no minus sign, and what follows the digits is not looked at.
class LARKSPAN_API UnsignedInteger16 {
 public:
  /// Reads `literal` into `value` and returns true; returns false, and leaves `value` alone, if no
  /// number stands there or if it does not fit.
  /// Throws `Vx::IllegalArgumentException` for an empty literal.
  [[nodiscard]] static bool Parse(const Vx::UniString& literal, unsigned short& value);

  /// The same with the value as result; throws `Vx::ConversionErrorException` where the other form
  /// returns false.
  [[nodiscard]] static unsigned short Parse(const Vx::UniString& literal);

  /// In decimal.
  [[nodiscard]] static Vx::UniString ToString(unsigned short value);

  /// In hexadecimal: lower-case digits without a prefix or leading zeros. `Parse` does not read
  /// it.
  [[nodiscard]] static Vx::UniString ToHexString(unsigned short value);
};

}  // namespace Larkspan::Common
