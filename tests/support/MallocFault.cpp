#include "tests/support/MallocFault.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>

#if defined(__has_feature)
#define MALLOC_IS_SANITIZED (__has_feature(address_sanitizer) || __has_feature(thread_sanitizer))
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define MALLOC_IS_SANITIZED 1
#else
#define MALLOC_IS_SANITIZED 0
#endif

namespace Tests {
namespace {

std::atomic<bool> watching{false};
std::atomic<std::size_t> largest{0};
std::atomic<std::size_t> smallestCounted{0};
std::atomic<int> left{0};

}  // namespace

MallocFault::MallocFault(int n, std::size_t minimum) {
  largest = 0;
  smallestCounted = minimum;
  left = n;
  watching = true;
}

MallocFault::~MallocFault() {
  watching = false;
}

bool MallocFault::IsAvailable() noexcept {
#if defined(__GLIBC__) && !MALLOC_IS_SANITIZED
  return true;
#else
  return false;
#endif
}

std::size_t MallocFault::GetLargest() const noexcept {
  return largest;
}

}  // namespace Tests

#if defined(__GLIBC__) && !MALLOC_IS_SANITIZED

extern "C" void* __libc_malloc(size_t size);

extern "C" void* malloc(size_t size) noexcept {
  using namespace Tests;
  if (watching) {
    if (size > largest) largest = size;
    if (size >= smallestCounted && left > 0 && --left == 0) {
      errno = ENOMEM;
      return nullptr;
    }
  }
  return __libc_malloc(size);
}

#endif
