#pragma once

#include <atomic>

namespace Tests {

/// While it lives, the `n`-th allocation counted from its construction gives null, on whatever
/// thread it happens, and so do the following ones up to `times` in all; the others succeed. It
/// counts what goes through `operator new` and `operator new[]` with `std::nothrow`, which is where
/// all of the libraries' own memory comes from; where `malloc` is watched, on request also direct
/// calls of that, by zlib or the C library. One at a time. With `n` 0 it only counts.
class AllocationFault {
 public:
  static constexpr int Always = 1 << 30;
  enum class Reach { New, NewAndMalloc };

  explicit AllocationFault(int n, int times = 1, Reach reach = Reach::New) noexcept : failing(n) {
    tried = 0;
    end = n + times;
    striking = n;
    reachesMalloc = reach == Reach::NewAndMalloc;
  }
  AllocationFault(const AllocationFault&) = delete;
  AllocationFault& operator=(const AllocationFault&) = delete;
  ~AllocationFault() {
    striking = 0;
    reachesMalloc = false;
  }

  /// Whether the allocation has failed; a sweep is over when it has not.
  [[nodiscard]] bool HasStruck() const noexcept { return failing != 0 && tried >= failing; }
  /// The allocations tried so far.
  [[nodiscard]] int GetCount() const noexcept { return tried; }

  /// For the operators: counts an allocation, and tells whether it has to fail.
  [[nodiscard]] static bool Strikes() noexcept {
    const int number = ++tried;
    return striking != 0 && number >= striking && number < end;
  }
  [[nodiscard]] static bool ReachesMalloc() noexcept { return reachesMalloc; }

 private:
  static inline std::atomic<int> tried{0};
  static inline std::atomic<int> striking{0};
  static inline std::atomic<int> end{0};
  static inline std::atomic<bool> reachesMalloc{false};

  int failing;
};

}  // namespace Tests
