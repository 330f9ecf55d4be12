#pragma once

#include "foundation/Vx/Array.h"

namespace Vx {

/// An array with a fixed buffer: up to `N` elements live in the object itself and need no memory
/// from the heap.
template <class T, unsigned int N>
class ArrayFB final : public Array<T> {
 public:
  static_assert(N > 0);

  ArrayFB() noexcept = default;
  ~ArrayFB() override { this->Clear(); }

  [[nodiscard]] unsigned int GetMinCapacity() const noexcept override { return N; }

 protected:
  [[nodiscard]] T* Allocate(unsigned int n, const T* current) override {
    return n <= N && current != buffer ? buffer : NewElements<T>(n);
  }

  void Deallocate(T* memory) noexcept override {
    if (IsDynamic(memory)) DeleteArrayOperator(memory);
  }

  [[nodiscard]] bool IsDynamic(const T* memory) const noexcept override { return memory != buffer; }

 private:
  T buffer[N] = {};
};

}  // namespace Vx
