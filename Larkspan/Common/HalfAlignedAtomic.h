#pragma once

#include <atomic>
#include <cstdint>

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/Atomic.h"

/// Atomic steps of a 32-bit value that is aligned on two bytes only, in memory of this
/// process. A part of `PagedAtomicCounter`, which inlines the common half of it.
namespace Larkspan::Common::HalfAlignedAtomic {

/// The way of the values whose address is not a multiple of four. `AddUnderFlag` returns the new
/// value.
LARKSPAN_API unsigned int AddUnderFlag(void* value, unsigned int step) noexcept;
[[nodiscard]] LARKSPAN_API unsigned int ReadUnderFlag(const void* value) noexcept;

[[nodiscard]] inline bool IsAligned(const void* value) noexcept {
  const auto address = reinterpret_cast<std::uintptr_t>(value);
  return address % std::atomic_ref<unsigned int>::required_alignment == 0;
}

/// Adds 1 to `value` and returns the new value.
inline unsigned int Increment(void* value) noexcept {
  if (!IsAligned(value)) return AddUnderFlag(value, 1);
  return Vx::AtomicIncrement(*static_cast<unsigned int*>(value));
}

/// Takes 1 from `value` and returns the new value. Whoever brings it to 0 sees all that the other
/// threads did before they took theirs.
inline unsigned int Decrement(void* value) noexcept {
  if (!IsAligned(value)) return AddUnderFlag(value, 0U - 1U);
  return Vx::AtomicDecrement(*static_cast<unsigned int*>(value));
}

[[nodiscard]] inline unsigned int Read(const void* value) noexcept {
  if (!IsAligned(value)) return ReadUnderFlag(value);
  return Vx::AtomicRead(*static_cast<const unsigned int*>(value));
}

}  // namespace Larkspan::Common::HalfAlignedAtomic
