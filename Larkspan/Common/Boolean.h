#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common {

/// The literals "true" and "false", which are matched exactly: no capitals, no blanks, no digits.
class LARKSPAN_API Boolean {
 public:
  /// Reads `literal` into `value` and returns true: the literal was understood, whichever of the
  /// two it is. Returns false, and leaves `value` alone, for any other text. Throws
  /// `Vx::IllegalArgumentException` for an empty literal.
  [[nodiscard]] static bool Parse(const Vx::UniString& literal, bool& value);

  /// The same with the value as result; throws `Vx::ConversionErrorException` where the other form
  /// returns false.
  [[nodiscard]] static bool Parse(const Vx::UniString& literal);

  [[nodiscard]] static Vx::UniString ToString(bool value);
};

}  // namespace Larkspan::Common
