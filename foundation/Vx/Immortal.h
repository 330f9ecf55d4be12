#pragma once

#include <cstddef>
#include <new>

namespace Vx {

/// The one instance of `T` in static storage: made at the first call, safe on any thread and during
/// static initialisation, and never destroyed, so that it serves until the process ends.
template <class T>
[[nodiscard]] T& GetImmortal() {
  alignas(T) static std::byte storage[sizeof(T)];
  static T& instance = *::new (storage) T();
  return instance;
}

}  // namespace Vx
