#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>

#include "foundation/Vx/Memory.h"
#include "foundation/Vx/OutOfMemoryException.h"

namespace Larkspan::Common::IO {

/// Gives memory back to `Vx_free`.
struct VxFree {
  void operator()(void* memory) const noexcept { Vx_free(memory); }
};

/// A buffer or a zlib stream of a deflate or inflate channel.
template <class T>
using ZlibMemory = std::unique_ptr<T, VxFree>;

/// `size` bytes from `Vx_malloc`. Raises `Vx::OutOfMemoryException` with the message and place
/// given.
template <class T>
[[nodiscard]] ZlibMemory<T> AllocateZlibMemory(std::size_t size, const char* message,
                                               const char* fileName, unsigned int lineNumber) {
  using Element = std::remove_extent_t<T>;
  ZlibMemory<T> memory(static_cast<Element*>(Vx_malloc(size)));
  if (!memory && size != 0) throw Vx::OutOfMemoryException(message, fileName, lineNumber);
  return memory;
}

}  // namespace Larkspan::Common::IO
