#pragma once

namespace Vx {

/// The count of a `Ref` that stays on one thread.
class Counter final {
 public:
  explicit Counter(unsigned int start = 0) noexcept : value(start) {}

  /// Both return the new value.
  unsigned int Increment() noexcept { return ++value; }
  unsigned int Decrement() noexcept { return --value; }
  [[nodiscard]] unsigned int GetValue() const noexcept { return value; }

 private:
  unsigned int value;
};

}  // namespace Vx
