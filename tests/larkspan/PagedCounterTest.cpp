#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Common/CounterPool.h"
#include "Larkspan/Common/PagedAtomicCounter.h"
#include "Larkspan/Common/PagedCounter.h"
#include "foundation/Vx/Ref.h"

namespace {

using namespace Larkspan::Common;

TEST(PagedCounters, LeaveListedAndSparePagesToTheTearDown) {
  constexpr std::size_t PlacesPerPage = 677;
  CounterPool pool;  // what it leaves behind is the address sanitizer's to find
  std::vector<void*> places(3 * PlacesPerPage + 1);
  for (void*& place : places) place = pool.Take();
  for (std::size_t index = 0; index <= 2 * PlacesPerPage; ++index) pool.GiveBack(places[index]);
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
        if (mine) {
          ASSERT_EQ(mine->Increment(), index + 1);
        }
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
