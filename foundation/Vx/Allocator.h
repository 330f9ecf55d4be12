#pragma once

#include <cstddef>

#include "foundation/Vx/Memory.h"

namespace Vx {

/// Standard allocator on `NewOperator`, so that a standard container that runs out of memory throws
/// `OutOfMemoryException` like everything else here.
template <class T>
class Allocator {
 public:
  using value_type = T;

  Allocator() noexcept = default;
  template <class U>
  Allocator(const Allocator<U>&) noexcept {}

  [[nodiscard]] T* allocate(std::size_t count) {
    // NOLINTBEGIN(bugprone-sizeof-expression): T may be a pointer.
    if (count > static_cast<std::size_t>(-1) / sizeof(T)) ThrowOutOfMemory();
    void* const memory = NewOperator(count * sizeof(T));
    // NOLINTEND(bugprone-sizeof-expression)
    if (memory == nullptr) ThrowOutOfMemory();
    return static_cast<T*>(memory);
  }

  void deallocate(T* memory, std::size_t) noexcept { DeleteOperator(memory); }

  template <class U>
  bool operator==(const Allocator<U>&) const noexcept {
    return true;
  }
};

}  // namespace Vx
