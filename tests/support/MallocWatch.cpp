#include "tests/support/MallocWatch.h"

#include <cstdlib>

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

extern "C" void* malloc(size_t size) noexcept {
  using Tests::MallocWatch;
  if (size > MallocWatch::largest) MallocWatch::largest = size;
  return __libc_malloc(size);
}

#endif
