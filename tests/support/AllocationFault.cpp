#include "tests/support/AllocationFault.h"

#include <atomic>
#include <cstddef>
#include <new>

namespace {

std::atomic<long long> allocations{0};
std::atomic<int> failingAllocation{0};

// Number `failingAllocation` fails. Otherwise the memory comes from the throwing form, so that it
// is what the matching `operator delete` expects, whoever defines the two.
template <class Allocate>
void* Count(Allocate allocate) noexcept {
  if (allocations.fetch_add(1) + 1 == failingAllocation.load()) return nullptr;
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

namespace Larkspan::Testing {

AllocationFault::AllocationFault(int n) noexcept : failing(n) {
  allocations = 0;
  failingAllocation = n;
}

AllocationFault::~AllocationFault() {
  failingAllocation = 0;
}

bool AllocationFault::HasFired() const noexcept {
  return failing != 0 && allocations >= failing;
}

int AllocationFault::GetCount() const noexcept {
  return static_cast<int>(allocations);
}

}  // namespace Larkspan::Testing
