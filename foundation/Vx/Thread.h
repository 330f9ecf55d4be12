#pragma once

#include "foundation/Export.h"

namespace Vx {

class FOUNDATION_API Thread final {
 public:
  Thread() = delete;

  /// Suspends the calling thread for `milliseconds`. With `full` true a signal does not shorten
  /// the sleep; with false the sleep is a single wait, which a signal may end early.
  static void Sleep(unsigned int milliseconds, bool full);
};

}  // namespace Vx
