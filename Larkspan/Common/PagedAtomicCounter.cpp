#include "Larkspan/Common/PagedAtomicCounter.h"

#include "Larkspan/Common/CounterPool.h"

namespace Larkspan::Common {

static_assert(sizeof(PagedAtomicCounter) == sizeof(CounterSlot::value));
static_assert(alignof(PagedAtomicCounter) == alignof(CounterSlot));

void* PagedAtomicCounter::operator new(std::size_t) {
  return CounterPool::ForPagedAtomicCounter.Take();
}

void PagedAtomicCounter::operator delete(void* p) noexcept {
  CounterPool::ForPagedAtomicCounter.GiveBack(p);
}

}  // namespace Larkspan::Common
