#include "foundation/Vx/HashCapacity.h"

#include <algorithm>
#include <iterator>

#include "foundation/Vx/Memory.h"

namespace Vx {

namespace {

// Each is the smallest prime not below twice its predecessor.
constexpr unsigned int capacities[] = {
    11,        23,        47,        97,         197,       397,      797,      1597,
    3203,      6421,      12853,     25717,      51437,     102877,   205759,   411527,
    823117,    1646237,   3292489,   6584983,    13169977,  26339969, 52679969, 105359939,
    210719881, 421439783, 842879579, 1685759167, 3371518343};

static_assert(std::is_sorted(std::begin(capacities), std::end(capacities)));

}  // namespace

unsigned int GetNextHashCapacity(unsigned int capacity) {
  const auto* const next = std::upper_bound(std::begin(capacities), std::end(capacities), capacity);
  if (next == std::end(capacities)) ThrowOutOfMemory();
  return *next;
}

unsigned int GetPreviousHashCapacity(unsigned int capacity) noexcept {
  const auto* const present =
      std::lower_bound(std::begin(capacities), std::end(capacities), capacity);
  return present == std::begin(capacities) ? *present : *(present - 1);
}

}  // namespace Vx
