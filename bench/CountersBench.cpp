// Counted references against the standard library's: time to make and drop them, and the memory
// that a count takes besides its object.

#include <cstddef>
#include <malloc.h>
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include "Larkspan/Common/PagedAtomicCounter.h"
#include "Larkspan/Common/PagedCounter.h"
#include "foundation/Vx/AtomicCounter.h"
#include "foundation/Vx/Counter.h"
#include "foundation/Vx/Ref.h"

namespace {

// Three sizes of the allocator's steps, so that the object alone takes whole ones.
struct Object {
  char content[40];
};

template <class C>
struct MakeRef {
  auto operator()() const { return Vx::MakeRef<Object, C>(); }
};

struct SharedFromNew {
  auto operator()() const { return std::shared_ptr<Object>(new Object); }
};

struct MakeShared {
  auto operator()() const { return std::make_shared<Object>(); }
};

struct Alone {
  auto operator()() const { return std::make_unique<Object>(); }
};

template <class Make>
std::size_t MemoryOf(std::size_t count) {
  std::vector<decltype(Make()())> references;
  references.reserve(count);
  const std::size_t before = mallinfo2().uordblks;
  while (references.size() < count) references.push_back(Make()());
  return mallinfo2().uordblks - before;
}

// A thousand at a time, made and dropped in order.
template <class Make>
void MakeAndDrop(benchmark::State& state) {
  constexpr std::size_t Count = 1000;
  std::vector<decltype(Make()())> references;
  references.reserve(Count);
  for (auto _ : state) {
    for (std::size_t index = 0; index < Count; ++index) references.push_back(Make()());
    references.clear();
  }
  state.SetItemsProcessed(state.iterations() * std::int64_t{Count});
  constexpr std::size_t Many = 100 * 677;
  const std::size_t besides = MemoryOf<Make>(Many) - MemoryOf<Alone>(Many);
  state.counters["bytes"] = static_cast<double>(besides) / double{Many};
}
BENCHMARK(MakeAndDrop<MakeRef<Vx::Counter>>);
BENCHMARK(MakeAndDrop<MakeRef<Vx::AtomicCounter>>);
BENCHMARK(MakeAndDrop<MakeRef<Larkspan::Common::PagedCounter>>);
BENCHMARK(MakeAndDrop<MakeRef<Larkspan::Common::PagedAtomicCounter>>);
BENCHMARK(MakeAndDrop<SharedFromNew>);
BENCHMARK(MakeAndDrop<MakeShared>);

// One at a time. `kept` counters keep a page in the pool; without any, each makes one of its own.
template <class C>
void MakeAndDropOne(benchmark::State& state) {
  std::vector<std::unique_ptr<C>> kept;
  for (auto left = state.range(0); left > 0; --left) kept.emplace_back(new C);
  for (auto _ : state) {
    std::unique_ptr<C> counter(Vx::New<C>());
    benchmark::DoNotOptimize(counter);
  }
}
BENCHMARK(MakeAndDropOne<Vx::Counter>)->ArgName("kept")->Arg(0);
BENCHMARK(MakeAndDropOne<Larkspan::Common::PagedCounter>)->ArgName("kept")->Arg(1)->Arg(0);

// Up and down, in the two kinds of place that a pool has.
template <class C>
void CountUpAndDown(benchmark::State& state) {
  std::unique_ptr<C> counters[2];
  for (auto& counter : counters) counter.reset(Vx::New<C>());
  C& counter = *counters[state.range(0)];
  for (auto _ : state) {
    benchmark::DoNotOptimize(counter.Increment());
    benchmark::DoNotOptimize(counter.Decrement());
  }
}
BENCHMARK(CountUpAndDown<Vx::AtomicCounter>)->ArgName("slot")->Arg(0);
BENCHMARK(CountUpAndDown<Larkspan::Common::PagedAtomicCounter>)->ArgName("slot")->Arg(0)->Arg(1);

}  // namespace
