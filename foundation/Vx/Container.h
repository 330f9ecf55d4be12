#pragma once

namespace Vx {

/// Base of what holds elements of one class. Sizes, indexes and capacities of all containers are
/// 32-bit unsigned numbers of elements; growing beyond them counts as out of memory. No container
/// has a lock: one thread at a time, while anybody changes it.
template <class T>
class Container {
 public:
  using ElementType = T;

 protected:
  Container() noexcept = default;
  ~Container() = default;
};

}  // namespace Vx
