// Slots of six bytes put every second counter at an address that is even but not a multiple of
// four, where neither the language nor every processor has an atomic 32-bit operation. What seems
// to offer itself there fails:
//
// - The processor's own locked instruction, where it takes such an address at all, is undefined in
//   C++; and where the value crosses a cache line, it stops all cores for the time of the access
//   (a split lock), which some systems answer by slowing the program down or ending it.
// - The aligned word of 8 bytes around a value holds its neighbours too, which others write
//   without atomic operations, and there is none around a value that crosses its edge.
// - Two atomic halves of 16 bits have moments between the step and its carry, in which a thread
//   can take a count for 0 that isn't.
//
// So such a value is changed by plain loads and stores while a flag is held, as compilers' own
// libraries do for types without an atomic instruction. The flag is chosen by the value's address
// from a small table, so that two counters seldom share one. A value keeps its address, and so all
// of its operations go the same way and meet at the same flag.
//
// No other lock is taken and nothing can fail while a flag is held, so that there is no order of
// locks to keep. The flags need neither construction nor tear-down, so that counters that are
// static objects themselves work at any time.

#include "Larkspan/Common/HalfAlignedAtomic.h"

#include <cstddef>
#include <cstring>
#include <thread>

namespace Larkspan::Common::HalfAlignedAtomic {
namespace {

constexpr std::size_t FlagCount = 64;
// A few loads and stores long; whoever holds a flag for longer has lost the processor.
constexpr unsigned int SpinsBeforeYield = 64;

// A cache line each: threads at different counters don't disturb each other.
struct alignas(64) Flag {
  std::atomic_flag held;
};

constinit Flag flags[FlagCount];

class FlagGuard final {
 public:
  // Unaligned values lie at odd multiples of two, those of a page twelve bytes apart: in units of
  // four bytes, a distance of 3, which visits all 64 flags before it comes back to one.
  explicit FlagGuard(const void* value) noexcept
      : flag(flags[reinterpret_cast<std::uintptr_t>(value) / 4 % FlagCount].held) {
    for (unsigned int spins = 1; flag.test_and_set(std::memory_order_acquire);) {
      // Reading alone leaves the cache line where it is until the flag is free.
      while (flag.test(std::memory_order_relaxed)) {
        if (spins++ % SpinsBeforeYield == 0) std::this_thread::yield();
      }
    }
  }
  FlagGuard(const FlagGuard&) = delete;
  FlagGuard& operator=(const FlagGuard&) = delete;
  ~FlagGuard() { flag.clear(std::memory_order_release); }

 private:
  std::atomic_flag& flag;
};

}  // namespace

unsigned int AddUnderFlag(void* value, unsigned int step) noexcept {
  const FlagGuard guard(value);
  unsigned int count;
  std::memcpy(&count, value, sizeof(count));
  count += step;
  std::memcpy(value, &count, sizeof(count));
  return count;
}

unsigned int ReadUnderFlag(const void* value) noexcept {
  const FlagGuard guard(value);
  unsigned int count;
  std::memcpy(&count, value, sizeof(count));
  return count;
}

}  // namespace Larkspan::Common::HalfAlignedAtomic
