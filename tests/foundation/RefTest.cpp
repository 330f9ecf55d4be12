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

using Larkspan::Testing::AllocationFault;
using Vx::Ref;

int alive = 0;

class Base {
 public:
  explicit Base(bool failing = false) : throwing(failing) { ++alive; }
  Base(const Base&) = delete;
  Base& operator=(const Base&) = delete;
  virtual ~Base() noexcept(false) {
    --alive;
    if (throwing) throw std::runtime_error("destructor");
  }
  int value = 1;

 private:
  bool throwing;
};

class Other {
 public:
  Other() = default;
  Other(const Other&) = delete;
  Other& operator=(const Other&) = delete;
  virtual ~Other() noexcept(false) {}
  int other = 2;
};

class Derived final : public Other, public Base {
 public:
  using Base::Base;
};

template <class C>
class RefTest : public testing::Test {
 protected:
  void SetUp() override { alive = 0; }
  void TearDown() override { EXPECT_EQ(alive, 0); }
};
using Counters = testing::Types<Vx::Counter, Vx::AtomicCounter>;
TYPED_TEST_SUITE(RefTest, Counters, );

TYPED_TEST(RefTest, TheLastReferenceDeletesTheObject) {
  using BaseRef = Ref<Base, TypeParam>;
  BaseRef first(Vx::New<Base>());
  std::vector<BaseRef> copies(10, first);
  BaseRef moved(std::move(first));
  EXPECT_TRUE(first.IsEmpty());
  copies.push_back(std::move(copies.front()));
  copies.clear();
  EXPECT_EQ(alive, 1);
  BaseRef& alias = moved;
  moved = alias;
  moved = std::move(alias);
  EXPECT_EQ(alive, 1);
  EXPECT_EQ(moved->value, 1);
  moved = BaseRef(Vx::New<Base>());
  EXPECT_EQ(alive, 1);
  first = moved;
  moved.Reset();
  EXPECT_TRUE(moved.IsEmpty());
  EXPECT_EQ(alive, 1);
  first = BaseRef();
  EXPECT_EQ(alive, 0);
}

TYPED_TEST(RefTest, ADerivedObjectIsSharedThroughEachOfItsBases) {
  Ref<Derived, TypeParam> derived = Vx::MakeRef<Derived, TypeParam>();
  Ref<Base, TypeParam> base = derived;
  const Ref<const Other, TypeParam> other(derived);
  EXPECT_EQ(base->value, 1);
  EXPECT_EQ(other->other, 2);
  EXPECT_EQ(base, (Ref<Base, TypeParam>(derived)));
  derived.Reset();
  base.Reset();
  EXPECT_EQ(alive, 1);
}

TYPED_TEST(RefTest, AFailingDestructorIsSwallowed) {
  EXPECT_NO_THROW((Ref<Base, TypeParam>(Vx::New<Base>(true))));
  EXPECT_NO_THROW((Vx::MakeRef<Derived, TypeParam>(true).Reset()));
}

TYPED_TEST(RefTest, ReadingThroughAnEmptyReferenceIsReported) {
  const Ref<Base, TypeParam> empty;
  const Ref<Base, TypeParam> null(static_cast<Base*>(nullptr));
  for (const auto& reference : {empty, null}) {
    EXPECT_TRUE(reference.IsEmpty());
    EXPECT_EQ(reference.Get(), nullptr);
    try {
      EXPECT_EQ(reference->value, 0);
      ADD_FAILURE();
    } catch (const Vx::NullReferenceException& exception) {
      EXPECT_EQ(exception.GetMessage(), u"Null reference.");
    }
    EXPECT_THROW(static_cast<void>(*reference), Vx::NullReferenceException);
  }
}

TYPED_TEST(RefTest, WithoutMemoryForTheCountTheObjectIsDeleted) {
  for (const bool throwing : {false, true}) {
    Base* const object = Vx::New<Base>(throwing);
    const AllocationFault fault(1);
    EXPECT_THROW((Ref<Base, TypeParam>(object)), Vx::OutOfMemoryException);
    EXPECT_EQ(alive, 0);
  }
}

template <class Work>
void OnEightThreads(Work work) {
  std::vector<std::thread> threads;
  for (std::size_t index = 0; index < 8; ++index) threads.emplace_back(work, index);
  for (std::thread& thread : threads) thread.join();
}

TEST(AtomicCounter, NoStepIsLostBetweenThreads) {
  constexpr unsigned int Steps = 1000000;
  Vx::AtomicCounter counter(5);
  OnEightThreads([&counter](std::size_t) {
    for (unsigned int step = 0; step < Steps; ++step) counter.Increment();
  });
  EXPECT_EQ(counter.GetValue(), 5 + 8 * Steps);
  OnEightThreads([&counter](std::size_t) {
    for (unsigned int step = 0; step < Steps; ++step) counter.Decrement();
  });
  EXPECT_EQ(counter.GetValue(), 5U);
}

TEST(AtomicCounter, OneThreadDeletesASharedObjectAndSeesAllWrites) {
  struct Shared {
    explicit Shared(std::vector<int>& result) : target(result) {}
    ~Shared() { target = slots; }
    std::vector<int>& target;
    std::vector<int> slots = std::vector<int>(8);
  };
  for (int round = 0; round < 200; ++round) {
    std::vector<int> result;
    auto shared = Vx::MakeRef<Shared, Vx::AtomicCounter>(result);
    std::vector<Vx::Ref<Shared, Vx::AtomicCounter>> copies(8, shared);
    shared.Reset();
    OnEightThreads([&copies](std::size_t index) {
      copies[index]->slots[index] = 1;
      copies[index].Reset();
    });
    ASSERT_EQ(result, std::vector<int>(8, 1));
  }
}

TEST(SpinLock, OneThreadAtATimeIsInside) {
  constexpr int Rounds = 20000;
  static constinit Vx::SpinLock lock;
  // Not atomic: without the lock steps get lost, and the thread sanitizer sees the race.
  int total = 0;
  OnEightThreads([&total](std::size_t index) {
    for (int round = 0; round < Rounds; ++round) {
      while (!lock.Acquire(index % 2 == 0)) std::this_thread::yield();
      ++total;
      lock.Release();
    }
  });
  EXPECT_EQ(total, 8 * Rounds);
  {
    const Vx::LockGuard guard(lock);
    EXPECT_FALSE(lock.Acquire(false));
  }
  EXPECT_TRUE(lock.Acquire(false));
  lock.Release();
}

}  // namespace
