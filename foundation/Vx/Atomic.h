#pragma once

#include <atomic>

namespace Vx {

/// Adds 1 to `value` and returns the new value. `value` must be aligned as its type asks.
inline unsigned int AtomicIncrement(unsigned int& value) noexcept {
  return std::atomic_ref<unsigned int>(value).fetch_add(1, std::memory_order_relaxed) + 1;
}

/// Takes 1 from `value` and returns the new value. Whoever brings it to 0 sees all that the other
/// threads did before they took theirs.
inline unsigned int AtomicDecrement(unsigned int& value) noexcept {
  return std::atomic_ref<unsigned int>(value).fetch_sub(1, std::memory_order_acq_rel) - 1;
}

inline unsigned int AtomicRead(const unsigned int& value) noexcept {
  return std::atomic_ref<unsigned int>(const_cast<unsigned int&>(value))
      .load(std::memory_order_relaxed);
}

}  // namespace Vx
