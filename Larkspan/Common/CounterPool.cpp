#include "Larkspan/Common/CounterPool.h"

namespace Larkspan::Common {

// One unit for both, since only within a unit the order is certain: the last one goes first. In a
// program that is linked with the library statically, all of the program's own static objects, and
// the references in them, go before.
[[gnu::init_priority(101)]] constinit CounterPool CounterPool::ForPagedCounter;
[[gnu::init_priority(101)]] constinit CounterPool CounterPool::ForPagedAtomicCounter;

}  // namespace Larkspan::Common
