#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common {

/// Decimal literals of 16-bit integers, -32768 to 32767. Leading blanks and a sign are taken, and
/// what follows the digits is not looked at.
class LARKSPAN_API Integer16 {
 public:
  /// Reads `literal` into `value` and returns true; returns false, and leaves `value` alone, if no
  /// number stands there or if it does not fit.
  /// Throws `Vx::IllegalArgumentException` for an empty literal.
  [[nodiscard]] static bool Parse(const Vx::UniString& literal, short& value);

  /// The same with the value as result; throws `Vx::ConversionErrorException` where the other form
  /// returns false.
  [[nodiscard]] static short Parse(const Vx::UniString& literal);

  /// In decimal, a negative value with a minus sign.
  [[nodiscard]] static Vx::UniString ToString(short value);
};

}  // namespace Larkspan::Common
