#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/Vx/Ref.h"
#include "foundation/Vx/SpinLock.h"

namespace {

TEST(AtomicCounter, OneOfEightThreadsDeletesASharedObjectAndSeesAllWrites) {
  struct Shared {
    ~Shared() { target = slots; }
    std::vector<int>& target;
    std::vector<int> slots = std::vector<int>(8);
  };
  using SharedRef = Vx::Ref<Shared, Vx::AtomicCounter>;
  static constinit Vx::SpinLock lock;
  // Not atomic: without the lock steps get lost, and the thread sanitizer sees the race.
  int total = 0;
  for (int round = 0; round < 100; ++round) {
    std::vector<int> result;
    std::vector<SharedRef> shared(8, SharedRef(new Shared{result}));
    const auto work = [&](std::size_t index) {
      for (int step = 0; step < 500; ++step) {
        SharedRef(shared[index])->slots[index] = 1;
        const Vx::LockGuard guard(lock);
        ++total;
      }
      shared[index].Reset();
    };
    std::vector<std::thread> threads;
    for (std::size_t index = 0; index < 8; ++index) threads.emplace_back(work, index);
    for (std::thread& thread : threads) thread.join();
    ASSERT_EQ(result, std::vector<int>(8, 1));
  }
  EXPECT_EQ(total, 100 * 8 * 500);
}

}  // namespace
