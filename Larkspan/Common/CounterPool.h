#pragma once

#include <utility>

#include "Larkspan/Common/CounterPage.h"
#include "foundation/Vx/Memory.h"
#include "foundation/Vx/SpinLock.h"

namespace Larkspan::Common {

/// Memory for counters: slots of six bytes from pages of 677. Any thread may call.
///
/// A page with a free slot stands on the list; a full one stands nowhere, and comes back to the
/// front of the list with the first slot that is given back. A page that becomes wholly free is
/// set aside as the spare, in place of the one before, as long as the pool has another page: so a
/// count that goes up and down across the edge of a page costs no allocation each time, and a pool
/// without counters holds no memory.
class CounterPool final {
 public:
  /// The pools of the two counter classes. They are ready before any code runs, and give up their
  /// memory when the library unloads.
  static CounterPool ForPagedCounter;
  static CounterPool ForPagedAtomicCounter;

  constexpr CounterPool() noexcept = default;
  CounterPool(const CounterPool&) = delete;
  CounterPool& operator=(const CounterPool&) = delete;

  /// Deletes all pages but the full ones, which nothing leads to: the counters in them live on.
  ~CounterPool() {
    const Vx::LockGuard guard(lock);
    if (spare != nullptr) DeletePage(std::exchange(spare, nullptr));
    while (list != nullptr) DeletePage(std::exchange(list, list->next));
  }

  /// Returns the address of four bytes, aligned on two. Constant time; one allocation for 677
  /// slots. Throws `Vx::OutOfMemoryException`, without message and cause, and has then changed
  /// nothing.
  [[nodiscard]] void* Take() {
    const Vx::LockGuard guard(lock);
    if (list == nullptr) list = std::exchange(spare, nullptr);
    if (list == nullptr) {
      list = Vx::New<CounterPage>();
      ++pageCount;
    }
    CounterPage& page = *list;
    void* const value = page.Take();
    if (page.freeCount == 0) Unlink(page);
    return value;
  }

  /// Takes back what `Take` of this pool returned. A null pointer is ignored.
  void GiveBack(void* value) noexcept {
    if (value == nullptr) return;
    const Vx::LockGuard guard(lock);
    CounterPage& page = CounterPage::GiveBack(value);
    if (page.freeCount == 1) Link(page);
    if (page.freeCount == CounterPage::SlotCount) SetAside(page);
  }

 private:
  void Link(CounterPage& page) noexcept {
    page.next = list;
    if (list != nullptr) list->previous = &page;
    list = &page;
  }

  void Unlink(CounterPage& page) noexcept {
    (page.previous != nullptr ? page.previous->next : list) = page.next;
    if (page.next != nullptr) page.next->previous = page.previous;
    page.previous = page.next = nullptr;
  }

  void SetAside(CounterPage& page) noexcept {
    Unlink(page);
    if (spare != nullptr) DeletePage(spare);
    spare = &page;
    if (pageCount == 1) DeletePage(std::exchange(spare, nullptr));
  }

  void DeletePage(CounterPage* page) noexcept {
    Vx::DeleteOperator(page);
    --pageCount;
  }

  CounterPage* list = nullptr;
  CounterPage* spare = nullptr;
  unsigned int pageCount = 0;
  Vx::SpinLock lock;
};

}  // namespace Larkspan::Common
