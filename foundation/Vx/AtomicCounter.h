#pragma once

#include "foundation/Vx/Atomic.h"

namespace Vx {

/// The count of a `Ref` whose copies may live on several threads.
class AtomicCounter final {
 public:
  explicit AtomicCounter(unsigned int start = 0) noexcept : value(start) {}

  /// Both return the new value.
  unsigned int Increment() noexcept { return AtomicIncrement(value); }
  unsigned int Decrement() noexcept { return AtomicDecrement(value); }
  [[nodiscard]] unsigned int GetValue() const noexcept { return AtomicRead(value); }

 private:
  unsigned int value;
};

}  // namespace Vx
