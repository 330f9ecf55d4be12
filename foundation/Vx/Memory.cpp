#include "foundation/Vx/Memory.h"

#include <cstdlib>

#include "foundation/Vx/OutOfMemoryException.h"

namespace Vx {

void* NewOperator(std::size_t size) noexcept {
  return ::operator new(size, std::nothrow);
}

void DeleteOperator(void* memory) noexcept {
  ::operator delete(memory);
}

void* NewArrayOperator(std::size_t size) noexcept {
  return ::operator new[](size, std::nothrow);
}

void DeleteArrayOperator(void* memory) noexcept {
  ::operator delete[](memory);
}

void ThrowOutOfMemory() {
  throw OutOfMemoryException();
}

ByteArray NewByteArray(std::size_t size) {
  char* const bytes = static_cast<char*>(NewArrayOperator(size));
  if (bytes == nullptr) ThrowOutOfMemory();
  return ByteArray(bytes);
}

}  // namespace Vx

void* Vx_malloc(std::size_t size) noexcept {
  return std::malloc(size);
}

void Vx_free(void* memory) noexcept {
  std::free(memory);
}
