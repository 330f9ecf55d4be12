#pragma once

#include <atomic>

#include "foundation/Export.h"
#include "foundation/Vx/Lock.h"

namespace Vx {

/// A lock for stretches of a few instructions. Waits by spinning and yields its time slice after
/// a while. Ready before any code runs if it is static.
class FOUNDATION_API SpinLock final : public Lock {
 public:
  constexpr SpinLock() noexcept = default;
  ~SpinLock() override;

  bool Acquire(bool wait) noexcept override;
  void Release() noexcept override;

 private:
  std::atomic<bool> held = false;
};

}  // namespace Vx
