#pragma once

#include <cstddef>

#include "Larkspan/Common/Export.h"

namespace Larkspan::Common {

/// The count of a `Vx::Ref` that stays on one thread, as `Vx::Counter`, but made in a pool, where
/// it takes six bytes; a page of the pool holds 677. Any thread may make and delete
/// counters; each counter is used by one thread at a time. Delete them before the library unloads.
class LARKSPAN_API PagedCounter {
 public:
  /// A slot in the pool, in constant time. It has four bytes, whatever `size` says: a derived
  /// class with more data must not be made with it. Arrays don't come from the pool.
  /// Throws `Vx::OutOfMemoryException`, without message and cause.
  [[nodiscard]] static void* operator new(std::size_t size);

  /// Returns the slot, in constant time. `p` is what `operator new` of this class returned, or
  /// null, which is ignored.
  static void operator delete(void* p) noexcept;

  explicit PagedCounter(unsigned int start = 0) noexcept : value(start) {}

  /// Both return the new value.
  unsigned int Increment() noexcept { return ++value; }
  unsigned int Decrement() noexcept { return --value; }
  [[nodiscard]] unsigned int GetValue() const noexcept { return value; }

 private:
  // The slots of the pool are not better aligned.
  [[gnu::packed, gnu::aligned(2)]] unsigned int value;
};

}  // namespace Larkspan::Common
