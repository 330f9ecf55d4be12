#include "tests/support/MallocWatch.h"

#include <cerrno>
#include <cstdlib>
#include <new>

#include "tests/support/AllocationFault.h"

#if !defined(__GLIBC__) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define MALLOC_IS_WATCHED 0
#elif !defined(__has_feature)
#define MALLOC_IS_WATCHED 1
#elif __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define MALLOC_IS_WATCHED 0
#else
#define MALLOC_IS_WATCHED 1
#endif

bool Tests::MallocWatch::IsAvailable() noexcept {
  return MALLOC_IS_WATCHED != 0;
}

#if MALLOC_IS_WATCHED

extern "C" void* __libc_malloc(size_t size);

namespace {

void* Allocate(size_t size) noexcept {
  using Tests::MallocWatch;
  if (size > MallocWatch::largest) MallocWatch::largest = size;
  return __libc_malloc(size);
}

}  // namespace

extern "C" void* malloc(size_t size) noexcept {
  using Tests::AllocationFault;
  if (!AllocationFault::ReachesMalloc() || !AllocationFault::Strikes()) return Allocate(size);
  errno = ENOMEM;
  return nullptr;
}

// The throwing form is the tests' own, and never fails for a fault.
void* operator new(size_t size) {
  void* const memory = Allocate(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, size_t) noexcept {
  std::free(memory);
}

#endif
