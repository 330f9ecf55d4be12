#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common {

/// Decimal literals of 32-bit integers, -2147483648 to 2147483647. Leading blanks and a sign are
/// taken, and what follows the digits is not looked at.
class LARKSPAN_API Integer32 {
 public:
  /// Reads `literal` into `value` and returns true; returns false, and leaves `value` alone, if no
  /// number stands there or if it does not fit.
  /// Throws `Vx::IllegalArgumentException` for an empty literal.
  [[nodiscard]] static bool Parse(const Vx::UniString& literal, int& value);

  /// The same with the value as result; throws `Vx::ConversionErrorException` where the other form
  /// returns false.
  [[nodiscard]] static int Parse(const Vx::UniString& literal);

  /// In decimal, a negative value with a minus sign.
  [[nodiscard]] static Vx::UniString ToString(int value);
};

}  // namespace Larkspan::Common
