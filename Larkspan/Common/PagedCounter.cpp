#include "Larkspan/Common/PagedCounter.h"

#include "Larkspan/Common/CounterPool.h"

namespace Larkspan::Common {

static_assert(sizeof(PagedCounter) == sizeof(CounterSlot::value));
static_assert(alignof(PagedCounter) == alignof(CounterSlot));

void* PagedCounter::operator new(std::size_t) {
  return CounterPool::ForPagedCounter.Take();
}

void PagedCounter::operator delete(void* p) noexcept {
  CounterPool::ForPagedCounter.GiveBack(p);
}

}  // namespace Larkspan::Common
