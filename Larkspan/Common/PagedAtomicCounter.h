#pragma once

#include <cstddef>

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/HalfAlignedAtomic.h"

namespace Larkspan::Common {

/// The count of a `Vx::Ref` whose copies may live on several threads, as `Vx::AtomicCounter`, but
/// made in a pool, where it takes six bytes; a page of the pool holds 677. Any thread may
/// call anything at any time, but no signal handler, and no child of a `fork` that other threads
/// did not wait for: locks are held for moments. Delete the counters before the library unloads.
/// The library's own channels are counted by `Vx::AtomicCounter`.
class LARKSPAN_API PagedAtomicCounter {
 public:
  /// A slot in the pool, in constant time. It has four bytes, whatever `size` says: a derived
  /// class with more data must not be made with it. Arrays don't come from the pool.
  /// Throws `Vx::OutOfMemoryException`, without message and cause.
  [[nodiscard]] static void* operator new(std::size_t size);

  /// Returns the slot, in constant time. `p` is what `operator new` of this class returned, or
  /// null, which is ignored.
  static void operator delete(void* p) noexcept;

  explicit PagedAtomicCounter(unsigned int start = 0) noexcept : value(start) {}
  PagedAtomicCounter(const PagedAtomicCounter&) = delete;
  PagedAtomicCounter& operator=(const PagedAtomicCounter&) = delete;

  /// Both return the new value. One thread alone sees a count reach 0, and it sees all that the
  /// others did before they took their step down.
  unsigned int Increment() noexcept { return HalfAlignedAtomic::Increment(&value); }
  unsigned int Decrement() noexcept { return HalfAlignedAtomic::Decrement(&value); }
  [[nodiscard]] unsigned int GetValue() const noexcept { return HalfAlignedAtomic::Read(&value); }

 private:
  // The slots of the pool are not better aligned.
  [[gnu::packed, gnu::aligned(2)]] unsigned int value;
};

}  // namespace Larkspan::Common
