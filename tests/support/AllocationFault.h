#pragma once

#include <atomic>

namespace Tests {

/// While it lives, the `n`-th allocation counted from its construction gives null, on whatever
/// thread it happens; the others succeed. It counts what goes through `operator new` and
/// `operator new[]` with `std::nothrow`, which is where all of the libraries' memory comes from.
/// One at a time. With `n` 0 it only counts.
class AllocationFault {
 public:
  explicit AllocationFault(int n) noexcept : failing(n) {
    tried = 0;
    striking = n;
  }
  AllocationFault(const AllocationFault&) = delete;
  AllocationFault& operator=(const AllocationFault&) = delete;
  ~AllocationFault() { striking = 0; }

  /// Whether the allocation has failed; a sweep is over when it has not.
  [[nodiscard]] bool HasStruck() const noexcept { return failing != 0 && tried >= failing; }
  /// The allocations tried so far.
  [[nodiscard]] int GetCount() const noexcept { return tried; }

  /// For the operators: counts an allocation, and tells whether it has to fail.
  [[nodiscard]] static bool Strikes() noexcept { return ++tried == striking; }

 private:
  static inline std::atomic<int> tried{0};
  static inline std::atomic<int> striking{0};

  int failing;
};

}  // namespace Tests
