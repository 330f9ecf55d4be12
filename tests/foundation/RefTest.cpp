#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/Vx/OutOfMemoryException.h"
#include "foundation/Vx/Ref.h"
#include "foundation/Vx/SpinLock.h"
#include "tests/support/AllocationFault.h"

namespace {

int alive = 0;

struct Base {
  explicit Base(bool failing = false) : throwing(failing) { ++alive; }
  Base(const Base&) = delete;
  virtual ~Base() noexcept(false) {
    --alive;
    if (throwing) throw std::runtime_error("destructor");
  }
  bool throwing;
};
struct Other {
  virtual ~Other() noexcept(false) {}
  int other = 2;
};
struct Derived final : Other, Base {
  using Base::Base;
};

template <class C>
class RefTest : public testing::Test {};
using Counters = testing::Types<Vx::Counter, Vx::AtomicCounter>;
TYPED_TEST_SUITE(RefTest, Counters, );

TYPED_TEST(RefTest, TheLastReferenceDeletesTheObject) {
  using BaseRef = Vx::Ref<Base, TypeParam>;
  auto derived = Vx::MakeRef<Derived, TypeParam>();
  Vx::Ref<const Other, TypeParam> other(derived);
  BaseRef first = std::move(derived);
  std::vector<BaseRef> copies(10, first);
  BaseRef moved(std::move(first));
  EXPECT_TRUE(first.IsEmpty());
  copies.clear();
  derived.Reset();
  BaseRef& alias = moved;
  moved = alias;
  moved = std::move(alias);
  EXPECT_EQ(alive, 1);
  moved = BaseRef(Vx::New<Base>());
  EXPECT_EQ(alive, 2);
  EXPECT_EQ(other->other, 2);
  other.Reset();
  EXPECT_NO_THROW(moved = BaseRef(Vx::New<Base>(true)));
  EXPECT_NO_THROW(moved.Reset());
  EXPECT_EQ(alive, 0);
  EXPECT_THROW(static_cast<void>(*moved), Vx::NullReferenceException);
  EXPECT_THROW(static_cast<void>(BaseRef(nullptr)->throwing), Vx::NullReferenceException);
  for (const bool throwing : {false, true}) {
    Base* const object = Vx::New<Base>(throwing);
    const Tests::AllocationFault fault(1);
    EXPECT_THROW(BaseRef{object}, Vx::OutOfMemoryException);
    EXPECT_EQ(alive, 0);
  }
}

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
