#include <cstdint>
#include <list>
#include <memory>
#include <numeric>
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
#include "tests/support/SeededRandom.h"

namespace {

using namespace Larkspan::Common;

constexpr std::size_t PlacesPerPage = 677;
constexpr std::ptrdiff_t PlaceSize = 6;

// Tells by the pool's rules which place is taken next, and when memory is needed for it:
// - A place is taken from the first page in the list, there the one that was given back last.
// - A full page leaves the list, and comes back as its first when one of its places is given back.
// - A page whose places are all free becomes the spare one, instead of the former. It is taken
//   when the list is empty, and goes when no page is in use.
class PoolModel {
 public:
  [[nodiscard]] bool NeedsMemory() const { return listed.empty() && spare.empty(); }
  [[nodiscard]] std::size_t GetUsedCount() const { return used.size(); }

  void Take(char* place) {
    if (NeedsMemory()) {
      listed.push_back(NewPage(place));
    } else if (listed.empty()) {
      listed.splice(listed.end(), spare);
    }
    const PagePosition page = listed.begin();
    const std::uint16_t number = page->free.back();
    page->free.pop_back();
    ASSERT_EQ(place, page->start + PlaceSize * number);
    ASSERT_EQ(reinterpret_cast<std::uint16_t*>(place)[2], number) << "behind the counter";
    used.emplace_back(place, page);
    if (page->free.empty()) full.splice(full.end(), listed, page);
  }

  // Makes the used place with this index the one that is given back next.
  void Choose(std::size_t index) { std::swap(used[index], used.back()); }

  char* GiveBack() {
    const auto [place, page] = used.back();
    used.pop_back();
    page->free.push_back(static_cast<std::uint16_t>((place - page->start) / PlaceSize));
    if (page->free.size() == 1) listed.splice(listed.begin(), full, page);
    if (page->free.size() == PlacesPerPage) {
      spare.clear();
      spare.splice(spare.end(), listed, page);
      if (listed.empty() && full.empty()) spare.clear();
    }
    return place;
  }

 private:
  struct Page {
    char* start;
    std::vector<std::uint16_t> free;  // numbers of places; the last is taken first
  };
  using PagePosition = std::list<Page>::iterator;

  static Page NewPage(char* start) {
    std::vector<std::uint16_t> free(PlacesPerPage);
    std::iota(free.rbegin(), free.rend(), std::uint16_t{0});
    return {start, free};
  }

  std::list<Page> listed;
  std::list<Page> full;
  std::list<Page> spare;
  std::vector<std::pair<char*, PagePosition>> used;
};

template <class Counter>
void* Take() {
  return Counter::operator new(sizeof(Counter));
}

// Where memory is needed, its first request is refused, which must change nothing.
template <class Counter>
void TakeWithFailure(PoolModel& model) {
  const bool needsMemory = model.NeedsMemory();
  const Tests::AllocationFault fault(needsMemory ? 1 : 0);
  if (needsMemory) {
    EXPECT_EQ(Tests::FailureOf(Take<Counter>), "OutOfMemoryException: ");
  }
  void* const place = Take<Counter>();
  EXPECT_EQ(fault.GetCount(), needsMemory ? 2 : 0);
  model.Take(static_cast<char*>(place));
}

template <class Counter>
void CheckPlaces() {
  // Counters in use that are headed for, around the edges of one, three and four pages.
  constexpr unsigned int goals[] = {1, 0, 678, 2, 2040, 4, 3000, 4, 2040, 6, 2031, 1, 2710, 0};
  Tests::SeededRandom random;
  PoolModel model;
  for (const unsigned int goal : goals) {
    for (int step = 0; step < 6000; ++step) {
      const bool isBelow = model.GetUsedCount() < goal;
      const bool goesBack = goal > 0 && random.OneIn(4);
      if (isBelow != goesBack) {
        ASSERT_NO_FATAL_FAILURE(TakeWithFailure<Counter>(model));
      } else if (model.GetUsedCount() > 0) {
        if (goal % 2 == 0) model.Choose(random.Below(model.GetUsedCount()));
        Counter::operator delete(model.GiveBack());
      }
    }
  }
}

TEST(PagedCounters, ComeFromThePlacesThatTheRulesTell) {
  for (int round = 0; round < 8; ++round) {
    ASSERT_NO_FATAL_FAILURE(CheckPlaces<PagedCounter>());
    const std::unique_ptr<PagedCounter> other(new PagedCounter);  // of another pool
    ASSERT_NO_FATAL_FAILURE(CheckPlaces<PagedAtomicCounter>());
  }
}

TEST(PagedCounters, LeaveListedAndSparePagesToTheTearDown) {
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
