#pragma once

#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

#include "foundation/Vx/AtomicCounter.h"
#include "foundation/Vx/Counter.h"
#include "foundation/Vx/Memory.h"
#include "foundation/Vx/NullReferenceException.h"

namespace Vx {

/// Counted reference to a `T` on the heap; the last one deletes the object and swallows any failure
/// of that. `C` is the class of the count: `Counter` for one thread, `AtomicCounter` for references
/// on several, or any class with a constructor from the first value, and with `Increment` and
/// `Decrement` that return the new value.
///
/// Copying costs one step of the count and never fails. A `Ref` of a derived class converts to
/// one of its base, which must have a virtual destructor.
template <class T, class C>
class Ref {
 public:
  Ref() noexcept = default;

  /// Takes over `target`, which may be null. Throws `OutOfMemoryException` if there is no memory
  /// for the count, and has then deleted `target`.
  explicit Ref(T* target) : object(target) {
    if (object == nullptr) return;
    try {
      counter = New<C>(1U);
    } catch (...) {
      DeleteObject();
      throw;
    }
  }

  Ref(const Ref& source) noexcept : object(source.object), counter(source.counter) { Acquire(); }
  Ref(Ref&& source) noexcept
      : object(std::exchange(source.object, nullptr)),
        counter(std::exchange(source.counter, nullptr)) {}

  template <class U>
  requires std::is_convertible_v<U*, T*> Ref(const Ref<U, C>& source)
  noexcept : object(source.object), counter(source.counter) {
    static_assert(std::has_virtual_destructor_v<T> || std::is_same_v<T, const U>);
    Acquire();
  }

  ~Ref() { Release(); }

  // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): swaps with a copy.
  Ref& operator=(const Ref& source) noexcept {
    Ref copy(source);
    Swap(copy);
    return *this;
  }
  Ref& operator=(Ref&& source) noexcept {
    Ref moved(std::move(source));
    Swap(moved);
    return *this;
  }

  /// Releases what is held; the reference is empty afterwards.
  void Reset() noexcept { Ref().Swap(*this); }

  [[nodiscard]] bool IsEmpty() const noexcept { return object == nullptr; }
  explicit operator bool() const noexcept { return object != nullptr; }

  /// The object, or null. The reference keeps its share.
  [[nodiscard]] T* Get() const noexcept { return object; }

  /// Throws `NullReferenceException` if the reference is empty.
  T& operator*() const { return Checked(); }
  T* operator->() const { return &Checked(); }

  void Swap(Ref& other) noexcept {
    std::swap(object, other.object);
    std::swap(counter, other.counter);
  }

  /// Two references are equal if they lead to the same object.
  friend bool operator==(const Ref& left, const Ref& right) noexcept {
    return left.object == right.object;
  }
  friend bool operator==(const Ref& reference, std::nullptr_t) noexcept {
    return reference.IsEmpty();
  }

 private:
  template <class U, class D>
  friend class Ref;

  [[nodiscard]] T& Checked() const {
    if (object == nullptr) throw NullReferenceException("Null reference.", __FILE__, __LINE__);
    return *object;
  }
  void Acquire() noexcept {
    if (counter != nullptr) counter->Increment();
  }
  void Release() noexcept {
    // The analyzer can't know what other references count.
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDelete)
    if (counter == nullptr || counter->Decrement() != 0) return;
    delete counter;
    DeleteObject();
  }
  void DeleteObject() noexcept {
    try {
      delete object;
    } catch (...) {
      // The last reference has nobody to tell.
    }
  }

  T* object = nullptr;
  C* counter = nullptr;
};

/// Makes a `T` on the heap and the first reference to it.
template <class T, class C, class... Arguments>
[[nodiscard]] Ref<T, C> MakeRef(Arguments&&... arguments) {
  return Ref<T, C>(New<T>(std::forward<Arguments>(arguments)...));
}

}  // namespace Vx

/// Of the object's address.
template <class T, class C>
struct std::hash<Vx::Ref<T, C>> {
  [[nodiscard]] std::size_t operator()(const Vx::Ref<T, C>& reference) const noexcept {
    return std::hash<T*>()(reference.Get());
  }
};
