#pragma once

#include "foundation/Export.h"

namespace Vx {

/// Something that one thread at a time can hold.
class FOUNDATION_API Lock {
 public:
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
  virtual ~Lock();

  /// Takes the lock. With `wait` false it returns at once where somebody else holds it. Returns
  /// whether it holds the lock now. Not recursive.
  virtual bool Acquire(bool wait) noexcept = 0;

  /// Releases the lock, which the caller must hold.
  virtual void Release() noexcept = 0;

 protected:
  constexpr Lock() noexcept = default;
};

/// Holds a lock for as long as it lives.
class LockGuard final {
 public:
  explicit LockGuard(Lock& held) noexcept : lock(held) { lock.Acquire(true); }
  ~LockGuard() { lock.Release(); }
  LockGuard(const LockGuard&) = delete;
  LockGuard& operator=(const LockGuard&) = delete;

 private:
  Lock& lock;
};

}  // namespace Vx
