#include "tests/support/AllocationFault.h"

#include <cstddef>
#include <new>

namespace {

// Unless it has to fail, the memory comes from the throwing form, so that it is what the matching
// `operator delete` expects, whoever defines the two.
template <class Allocate>
void* Count(Allocate allocate) noexcept {
  if (Tests::AllocationFault::Strikes()) return nullptr;
  try {
    return allocate();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return Count([size] { return ::operator new(size); });
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return Count([size] { return ::operator new[](size); });
}
