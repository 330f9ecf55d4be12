#pragma once

#include <algorithm>
#include <limits>
#include <type_traits>

#include "foundation/Vx/ElementMemory.h"
#include "foundation/Vx/RandomContainer.h"

namespace Vx {

/// Elements in one block of memory, for classes that can be copied as bytes. A change of the
/// capacity moves the elements, and pointers to them then lead nowhere.
///
/// Where the memory comes from is for the derived class to say; one that overrides that must call
/// `Clear` in its own destructor.
template <class T>
class Array : public RandomContainer<T> {
 public:
  static_assert(std::is_trivially_copyable_v<T>, "elements are copied as bytes");

  Array() noexcept = default;
  Array(const Array&) = delete;
  Array& operator=(const Array&) = delete;

  /// Sets the room to `n` elements, or to `GetMinCapacity()` if that is more. Elements beyond it
  /// are dropped. Throws `OutOfMemoryException`; the array is then as it was.
  virtual void SetCapacity(unsigned int n) {
    const unsigned int wanted = std::max(n, GetMinCapacity());
    if (wanted == capacity) return;
    T* const moved = wanted == 0 ? nullptr : Allocate(wanted, elements);
    size = std::min(size, wanted);
    std::copy_n(elements, size, moved);
    Deallocate(elements);
    elements = moved;
    capacity = wanted;
  }

  /// The least capacity that `SetCapacity` sets.
  [[nodiscard]] virtual unsigned int GetMinCapacity() const noexcept { return 0; }

 protected:
  /// Memory for `n` elements, at least one, that does not overlap `current`, the memory in use.
  /// Throws `OutOfMemoryException`.
  [[nodiscard]] virtual T* Allocate(unsigned int n, [[maybe_unused]] const T* current) {
    return NewElements<T>(n);
  }

  /// Frees what `Allocate` returned. A null pointer is ignored.
  virtual void Deallocate(T* buffer) noexcept { DeleteArrayOperator(buffer); }

  /// Whether `buffer` is from the heap.
  [[nodiscard]] virtual bool IsDynamic([[maybe_unused]] const T* buffer) const noexcept {
    return true;
  }

 public:
  virtual ~Array() { Clear(); }

  /// Sets the number of elements; new ones are zero or null. Growing beyond the capacity at least
  /// doubles it, so that growing by one costs constant time on average. A size of a quarter of the
  /// capacity or less halves the capacity at least. Throws `OutOfMemoryException`; the elements are
  /// then as they were, save that those above a smaller size are gone.
  void SetSize(unsigned int n) {
    if (n > capacity) SetCapacity(std::max(n, Twice(size)));
    if (n > size) std::fill_n(elements + size, n - size, T());
    size = n;
    if (n <= capacity / 4) SetCapacity(Twice(n));
  }

  /// Frees all memory. Capacity and size are 0 then, whatever the least capacity is.
  void Clear() noexcept {
    Deallocate(elements);
    elements = nullptr;
    capacity = 0;
    size = 0;
  }

  [[nodiscard]] unsigned int GetCapacity() const noexcept { return capacity; }
  [[nodiscard]] unsigned int GetSize() const noexcept { return size; }
  [[nodiscard]] bool IsEmpty() const noexcept { return size == 0; }

  [[nodiscard]] T& operator[](unsigned int index) noexcept { return elements[index]; }
  [[nodiscard]] const T& operator[](unsigned int index) const noexcept { return elements[index]; }

  [[nodiscard]] T* begin() noexcept { return elements; }
  [[nodiscard]] T* end() noexcept { return elements + size; }
  [[nodiscard]] const T* begin() const noexcept { return elements; }
  [[nodiscard]] const T* end() const noexcept { return elements + size; }

 private:
  static unsigned int Twice(unsigned int n) noexcept {
    constexpr unsigned int most = std::numeric_limits<unsigned int>::max();
    return n > most / 2 ? most : n * 2;
  }

  T* elements = nullptr;
  unsigned int capacity = 0;
  unsigned int size = 0;
};

}  // namespace Vx
