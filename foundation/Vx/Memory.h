#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "foundation/Export.h"

namespace Vx {

/// Memory for one object. Null if there is none; never throws. Goes back through
/// `DeleteOperator`, or, once an object lives in it, through a plain `delete`.
[[nodiscard]] FOUNDATION_API void* NewOperator(std::size_t size) noexcept;

/// Frees what `NewOperator` returned. A null pointer is ignored.
FOUNDATION_API void DeleteOperator(void* memory) noexcept;

/// Memory for an array of bytes or trivial elements. Null if there is none; never throws.
[[nodiscard]] FOUNDATION_API void* NewArrayOperator(std::size_t size) noexcept;

/// Frees what `NewArrayOperator` returned. A null pointer is ignored.
FOUNDATION_API void DeleteArrayOperator(void* memory) noexcept;

/// Throws `OutOfMemoryException` without message and position.
[[noreturn]] FOUNDATION_API void ThrowOutOfMemory();

/// Makes a `T` in memory from `NewOperator`, or from the class's own `operator new` where it has
/// one. The caller owns the object and ends it with `delete`. Throws `OutOfMemoryException`, or
/// what the constructor throws; nothing is leaked.
template <class T, class... Arguments>
[[nodiscard]] T* New(Arguments&&... arguments) {
  if constexpr (requires { T::operator new(sizeof(T)); }) {
    return new T(std::forward<Arguments>(arguments)...);
  } else {
    static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__);
    void* const memory = NewOperator(sizeof(T));
    if (memory == nullptr) ThrowOutOfMemory();
    try {
      return ::new (memory) T(std::forward<Arguments>(arguments)...);
    } catch (...) {
      DeleteOperator(memory);
      throw;
    }
  }
}

/// Deleter of `ByteArray`.
struct ArrayDelete {
  void operator()(char* bytes) const noexcept { DeleteArrayOperator(bytes); }
};

/// Owner of bytes from `NewArrayOperator`.
using ByteArray = std::unique_ptr<char[], ArrayDelete>;

/// `size` bytes, not cleared. Throws `OutOfMemoryException`.
[[nodiscard]] FOUNDATION_API ByteArray NewByteArray(std::size_t size);

}  // namespace Vx

/// `malloc` and `free` under the library's name, for code that hands memory to C. Null on failure.
[[nodiscard]] FOUNDATION_API void* Vx_malloc(std::size_t size) noexcept;
FOUNDATION_API void Vx_free(void* memory) noexcept;
