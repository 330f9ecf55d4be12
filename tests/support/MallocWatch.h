#pragma once

#include <atomic>
#include <cstddef>

namespace Tests {

/// Watches `malloc` on all threads, `operator new` included. Sanitizers have a `malloc` of their
/// own, which is not watched.
struct MallocWatch final {
  /// Whether there is anything to watch.
  [[nodiscard]] static bool IsAvailable() noexcept;

  /// The largest request so far; for whoever wants to watch from now on to set to 0.
  static inline std::atomic<std::size_t> largest{0};
};

}  // namespace Tests
