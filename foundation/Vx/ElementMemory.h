#pragma once

#include <cstddef>

#include "foundation/Vx/Memory.h"

namespace Vx {

/// Memory for `count` elements, none of which is constructed yet. Goes back through
/// `DeleteArrayOperator`. Throws `OutOfMemoryException`.
template <class T>
[[nodiscard]] T* NewElements(std::size_t count) {
  static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
  // NOLINTBEGIN(bugprone-sizeof-expression): elements may be pointers.
  if (count > static_cast<std::size_t>(-1) / sizeof(T)) ThrowOutOfMemory();
  void* const memory = NewArrayOperator(count * sizeof(T));
  // NOLINTEND(bugprone-sizeof-expression)
  if (memory == nullptr) ThrowOutOfMemory();
  return static_cast<T*>(memory);
}

}  // namespace Vx
