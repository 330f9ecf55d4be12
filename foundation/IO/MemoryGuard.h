#pragma once

#include "foundation/Vx/OutOfMemoryException.h"

namespace IO {

/// Returns the status of `work`, or `onFailure` if memory runs out: strings and lists throw, while
/// the operations of this layer report by status.
template <class Work>
[[nodiscard]] int GuardMemory(int onFailure, Work&& work) noexcept {
  try {
    return work();
  } catch (const Vx::OutOfMemoryException&) {
    return onFailure;
  }
}

}  // namespace IO
