#pragma once

#include "foundation/Export.h"

namespace Vx {

/// The bucket counts of a hash table: a rising sequence of primes, each about twice the one
/// before it. Both run in constant time.

/// The first count above `capacity`. Throws `OutOfMemoryException` where 32 bits hold no such
/// count.
[[nodiscard]] FOUNDATION_API unsigned int GetNextHashCapacity(unsigned int capacity);

/// The last count below `capacity`, or the smallest of all if there is none; never 0.
[[nodiscard]] FOUNDATION_API unsigned int GetPreviousHashCapacity(unsigned int capacity) noexcept;

}  // namespace Vx
