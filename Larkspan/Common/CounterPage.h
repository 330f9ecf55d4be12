#pragma once

#include <cstddef>
#include <cstdint>

namespace Larkspan::Common {

/// Six bytes: a counter, which is so aligned on two bytes only, and a link. The link is
/// the index of the next free slot while this one is free, and this one's own index while it is in
/// use.
struct CounterSlot {
  alignas(std::uint16_t) std::byte value[4];
  std::uint16_t link;
};

static_assert(sizeof(CounterSlot) == 6 && alignof(CounterSlot) == 2);
static_assert(offsetof(CounterSlot, value) == 0 && offsetof(CounterSlot, link) == 4);

/// A block of slots for counters, and the chain of those that are free: the one given back last is
/// taken first. The page of a slot in use is found by the slot's own link, so that nothing has to
/// keep track of a page that is full. All operations take constant time.
struct CounterPage {
  static constexpr std::uint16_t SlotCount = 677;
  static constexpr std::uint16_t EndOfChain = 0xFFFF;

  CounterPage() noexcept {
    for (std::uint16_t index = 0; index < SlotCount - 1; ++index) {
      slots[index].link = static_cast<std::uint16_t>(index + 1);
    }
    slots[SlotCount - 1].link = EndOfChain;
  }

  /// Takes a slot and returns the address of its value. There must be a free one.
  [[nodiscard]] void* Take() noexcept {
    const std::uint16_t index = firstFree;
    CounterSlot& slot = slots[index];
    firstFree = slot.link;
    slot.link = index;
    --freeCount;
    return slot.value;
  }

  /// Frees the slot of a value that `Take` returned, and returns the page that it belongs to.
  static CounterPage& GiveBack(void* value) noexcept {
    auto* const slot = static_cast<CounterSlot*>(value);
    const std::uint16_t index = slot->link;
    auto& page = *reinterpret_cast<CounterPage*>(slot - index);
    slot->link = page.firstFree;
    page.firstFree = index;
    ++page.freeCount;
    return page;
  }

  CounterSlot slots[SlotCount];
  std::uint16_t firstFree = 0;
  std::uint16_t freeCount = SlotCount;
  // The neighbours in the pool's list; null while the page stands on no list.
  alignas(8) CounterPage* previous = nullptr;
  alignas(8) CounterPage* next = nullptr;
};

static_assert(sizeof(CounterPage) == 4088 && offsetof(CounterPage, slots) == 0);
static_assert(offsetof(CounterPage, firstFree) == 4062 && offsetof(CounterPage, freeCount) == 4064);
static_assert(offsetof(CounterPage, previous) == 4072 && offsetof(CounterPage, next) == 4080);

}  // namespace Larkspan::Common
