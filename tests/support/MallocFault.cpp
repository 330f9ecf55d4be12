#include "tests/support/MallocFault.h"

#include <atomic>
#include <cerrno>
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

namespace Tests {
namespace {

std::atomic<std::size_t> largest{0};
std::atomic<std::size_t> smallestCounted{0};
std::atomic<int> left{0};

}  // namespace

MallocFault::MallocFault(int n, std::size_t minimum) {
  largest = 0;
  smallestCounted = minimum;
  left = n;
}

MallocFault::~MallocFault() {
  left = 0;
}

bool MallocFault::IsAvailable() noexcept {
  return MALLOC_IS_WATCHED != 0;
}

std::size_t MallocFault::GetLargest() const noexcept {
  return largest;
}

}  // namespace Tests

#if MALLOC_IS_WATCHED

extern "C" void* __libc_malloc(size_t size);

extern "C" void* malloc(size_t size) noexcept {
  using namespace Tests;
  if (size > largest) largest = size;
  if (size < smallestCounted || left <= 0 || --left != 0) return __libc_malloc(size);
  errno = ENOMEM;
  return nullptr;
}

#endif
