#pragma once

#include <cstddef>

namespace Tests {

/// Watches `malloc` on all threads while it lives, `operator new` included: keeps the largest
/// request, and gives null for the `n`-th one of at least `minimum` bytes; with `n` 0 all succeed.
/// One at a time. Sanitizers have a `malloc` of their own, which is not watched.
class MallocFault final {
 public:
  explicit MallocFault(int n = 0, std::size_t minimum = 0);
  MallocFault& operator=(MallocFault&&) = delete;
  ~MallocFault();

  /// Whether there is anything to watch.
  [[nodiscard]] static bool IsAvailable() noexcept;

  [[nodiscard]] std::size_t GetLargest() const noexcept;
};

}  // namespace Tests
