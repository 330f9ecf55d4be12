#pragma once

namespace Larkspan::Testing {

/// While it lives, the `n`-th allocation counted from its construction gives null, on whatever
/// thread it happens; the others succeed. It counts what goes through `operator new` and
/// `operator new[]` with `std::nothrow`, which is where all of the libraries' memory comes from.
/// One at a time. With `n` 0 it only counts.
class AllocationFault {
 public:
  explicit AllocationFault(int n) noexcept;
  AllocationFault(const AllocationFault&) = delete;
  AllocationFault& operator=(const AllocationFault&) = delete;
  ~AllocationFault();

  /// Whether the allocation has failed; a sweep is over when it has not.
  [[nodiscard]] bool HasFired() const noexcept;
  /// The allocations tried so far.
  [[nodiscard]] int GetCount() const noexcept;

 private:
  int failing;
};

}  // namespace Larkspan::Testing
