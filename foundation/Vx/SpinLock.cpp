#include "foundation/Vx/SpinLock.h"

#include <thread>

namespace Vx {
namespace {

// About as long as the stretches that these locks guard; whoever holds one for longer has lost
// the processor and needs it back.
constexpr unsigned int SpinsBeforeYield = 64;

}  // namespace

SpinLock::~SpinLock() = default;

bool SpinLock::Acquire(bool wait) noexcept {
  for (unsigned int spins = 1; held.exchange(true, std::memory_order_acquire); ++spins) {
    if (!wait) return false;
    // Reading alone leaves the cache line where it is until the lock is free.
    while (held.load(std::memory_order_relaxed)) {
      if (spins++ % SpinsBeforeYield == 0) std::this_thread::yield();
    }
  }
  return true;
}

void SpinLock::Release() noexcept {
  held.store(false, std::memory_order_release);
}

}  // namespace Vx
