#pragma once

#include "foundation/Export.h"

namespace Vx {

class FOUNDATION_API Thread final {
 public:
  Thread() = delete;

  /// Suspends the calling thread for `milliseconds`, the whole of them where `full` is true,
  /// whatever signals come in between. Without it the sleep may end early, but does not on this
  /// platform.
  static void Sleep(unsigned int milliseconds, bool full);
};

}  // namespace Vx
