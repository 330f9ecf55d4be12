#include <cstdint>
#include <list>
#include <memory>
#include <numeric>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Common/CounterPool.h"
#include "Larkspan/Common/PagedAtomicCounter.h"
#include "Larkspan/Common/PagedCounter.h"
#include "foundation/Vx/Ref.h"
#include "tests/support/AllocationFault.h"
#include "tests/support/FailureOf.h"

namespace {

using namespace Larkspan::Common;

struct Page {
  char* start;
  std::vector<std::uint16_t> free = std::vector<std::uint16_t>(677);  // the last is taken first
};

// The pool's rules tell which place comes next and when memory is asked for, and its first refused.
template <class C>
void CheckPlaces(unsigned int seed) {
  std::mt19937 random(seed);
  std::list<Page> listed, full, spare;
  std::vector<std::pair<char*, std::list<Page>::iterator>> used;
  for (const unsigned int goal :
       {1U, 0U, 678U, 2U, 2040U, 4U, 3000U, 4U, 2040U, 6U, 2031U, 1U, 2710U, 0U}) {
    for (int step = 0; step < 6000; ++step) {
      if ((used.size() < goal) != (goal > 0 && random() % 4 == 0)) {
        if (listed.empty()) listed.splice(listed.end(), spare);
        const int needed = listed.empty() ? 1 : 0;
        const Larkspan::Testing::AllocationFault fault(needed);
        const auto take = [&] { return static_cast<char*>(C::operator new(goal)); };
        EXPECT_FALSE(needed > 0 && Tests::FailureOf(take) != "OutOfMemoryException: ");
        char* const place = take();
        EXPECT_EQ(fault.GetCount(), 2 * needed);
        const auto page = needed > 0 ? listed.insert(listed.end(), {place}) : listed.begin();
        if (needed > 0) std::iota(page->free.rbegin(), page->free.rend(), std::uint16_t{0});
        used.emplace_back(place, page);
        ASSERT_EQ(place, page->start + 6 * page->free.back()) << seed;
        EXPECT_EQ(reinterpret_cast<std::uint16_t*>(place)[2], page->free.back());
        page->free.pop_back();
        if (page->free.empty()) full.splice(full.end(), listed, page);
      } else if (!used.empty()) {
        if (goal % 2 == 0) std::swap(used[random() % used.size()], used.back());
        const auto [place, page] = used.back();
        used.pop_back();
        page->free.push_back(static_cast<std::uint16_t>((place - page->start) / 6));
        C::operator delete(place);
        if (page->free.size() == 1) listed.splice(listed.begin(), full, page);
        if (page->free.size() < 677) continue;
        spare.clear();
        spare.splice(spare.end(), listed, page);
        if (listed.empty() && full.empty()) spare.clear();
      }
    }
  }
}

TEST(PagedCounters, ComeFromThePlacesThatTheRulesTell) {
  std::random_device random;
  for (int round = 0; round < 8; ++round) {
    CheckPlaces<PagedCounter>(random());
    const std::unique_ptr<PagedCounter> other(new PagedCounter);
    CheckPlaces<PagedAtomicCounter>(random());
  }
}

TEST(PagedCounters, LeaveListedAndSparePagesToTheTearDown) {
  CounterPool pool;  // what it leaves behind is the address sanitizer's to find
  std::vector<void*> places(3 * 677 + 1);
  for (void*& place : places) place = pool.Take();
  for (std::size_t index = 0; index <= 2 * 677; ++index) pool.GiveBack(places[index]);
}

TEST(PagedCounters, LoseNothingOnEightThreads) {
  const auto watched = std::make_shared<int>();
  using Reference = Vx::Ref<std::shared_ptr<int>, PagedAtomicCounter>;
  std::vector<Reference> shared;  // with neighbouring counters, one at each alignment
  for (int made = 0; made < 2; ++made) shared.emplace_back(new std::shared_ptr<int>(watched));
  alignas(64) char room[66];
  PagedAtomicCounter* const counters[] = {::new (room) PagedAtomicCounter(0U - 4'000'000U),
                                          ::new (room + 62) PagedAtomicCounter(0U - 4'000'000U)};
  std::vector<std::thread> threads;
  for (unsigned int index = 0; index < 8; ++index) {
    threads.emplace_back([&counters, shared, index] {
      std::unique_ptr<PagedCounter> plain[300];
      std::unique_ptr<PagedAtomicCounter> atomic[300];
      for (unsigned int step = 0; step < 500'000; ++step) {
        for (PagedAtomicCounter* counter : counters) counter->Increment();
        const Reference copy(shared[step % 2]);
        auto& mine = plain[step % 300];
        ASSERT_TRUE(!mine || mine->Increment() == index + 1);
        mine.reset(new PagedCounter(index));
        atomic[step % 300].reset(new PagedAtomicCounter(index));
      }
    });
  }
  shared.clear();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(watched.use_count(), 1);
  for (PagedAtomicCounter* counter : counters) EXPECT_EQ(counter->GetValue(), 0U);
}

}  // namespace
