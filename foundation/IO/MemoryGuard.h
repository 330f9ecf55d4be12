#pragma once

#include "foundation/Vx/OutOfMemoryException.h"

namespace IO {

/// Runs `work` and gives what it gives, or `onFailure` where memory runs out: texts and lists
/// raise, while the operations of this layer report.
template <class Work>
[[nodiscard]] int GuardMemory(int onFailure, Work&& work) noexcept {
  try {
    return work();
  } catch (const Vx::OutOfMemoryException&) {
    return onFailure;
  }
}

}  // namespace IO
