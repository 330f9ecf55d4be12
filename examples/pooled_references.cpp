// Many small objects under counted references whose counts come from a pool: six bytes each, and
// one allocation for 677 of them. Four threads copy and drop the references.

#include <cstdio>
#include <exception>
#include <thread>
#include <vector>

#include "Larkspan/Common/PagedAtomicCounter.h"
#include "foundation/Vx/Ref.h"

namespace {

struct Star {
  explicit Star(unsigned int distance) : lightYears(distance) {}
  unsigned int lightYears;
};

using StarRef = Vx::Ref<const Star, Larkspan::Common::PagedAtomicCounter>;

// Copies every reference and drops it again: the counts go up and down, and lose no step.
void AddUp(const std::vector<StarRef>& sky, unsigned __int64& sum) {
  for (const StarRef& star : std::vector<StarRef>(sky)) sum += star->lightYears;
}

}  // namespace

int main() {
  try {
    std::vector<StarRef> sky;
    for (unsigned int distance = 1; distance <= 10000; ++distance) {
      sky.push_back(Vx::MakeRef<const Star, Larkspan::Common::PagedAtomicCounter>(distance));
    }
    std::vector<unsigned __int64> sums(4);
    std::vector<std::thread> threads;
    for (auto& sum : sums) threads.emplace_back([&] { AddUp(sky, sum); });
    for (std::thread& thread : threads) thread.join();
    for (const auto sum : sums) std::printf("%llu light years\n", sum);
    return sums == std::vector<unsigned __int64>(4, 50'005'000) ? 0 : 1;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}
