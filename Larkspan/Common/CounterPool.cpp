#include "Larkspan/Common/CounterPool.h"

namespace Larkspan::Common {

// One unit for both, since only within a unit the order is certain: the last one goes first.
constinit CounterPool CounterPool::ForPagedCounter;
constinit CounterPool CounterPool::ForPagedAtomicCounter;

}  // namespace Larkspan::Common
