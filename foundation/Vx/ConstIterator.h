#pragma once

#include <iterator>
#include <type_traits>

#include "foundation/Vx/IConstIterator.h"

namespace Vx {

/// What all iterators over `T` have in common: the names of types.
template <class T>
class IteratorBase {
 public:
  using ElementType = T;
  using Reference = typename IteratorReference<T>::Type;
  using Distance = IteratorDistance;

 protected:
  IteratorBase() noexcept = default;
  ~IteratorBase() = default;
};

/// An iterator over `T` that does not show what it runs over. It is a value: copying it copies the
/// implementation behind it, on the heap, and throws `OutOfMemoryException`. The iterators of the
/// containers derive from it, are their own implementation, and are copied without memory as long
/// as they go under their own class.
///
/// It runs by `!it.IsAtEnd()` and `++it`, or stands in a range-based `for`. Its target is assigned
/// under the class that it was made as: never a container's iterator through its base.
template <class T>
class ConstForwardIterator : public IteratorBase<T> {
 public:
  using typename IteratorBase<T>::Reference;

  ConstForwardIterator(const ConstForwardIterator& source)
      : IteratorBase<T>(), implementation(source.implementation->Clone()) {}
  /// Throws `OutOfMemoryException`, and the iterator is then where it was.
  // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): copies before it deletes.
  ConstForwardIterator& operator=(const ConstForwardIterator& source) {
    IConstForwardIterator<T>* const copy = source.implementation->Clone();
    delete implementation;
    implementation = copy;
    return *this;
  }
  ~ConstForwardIterator() { delete implementation; }

  [[nodiscard]] bool IsAtEnd() const noexcept { return implementation->IsAtEnd(); }
  [[nodiscard]] Reference operator*() const { return implementation->Dereference(); }
  [[nodiscard]] auto operator->() const { return Arrow(implementation->Dereference()); }

  ConstForwardIterator& operator++() noexcept {
    implementation->Increment();
    return *this;
  }

  [[nodiscard]] ConstForwardIterator begin() const { return *this; }
  [[nodiscard]] std::default_sentinel_t end() const noexcept { return std::default_sentinel; }

  friend bool operator==(const ConstForwardIterator& left,
                         const ConstForwardIterator& right) noexcept {
    return left.implementation->IsEqual(*right.implementation);
  }
  friend bool operator==(const ConstForwardIterator& iterator, std::default_sentinel_t) noexcept {
    return iterator.implementation->IsAtEnd();
  }

 protected:
  /// Takes over `target`. A derived class that is its own implementation passes its interface part,
  /// and calls `Abandon` in its destructor.
  explicit ConstForwardIterator(IConstForwardIterator<T>* target) noexcept
      : implementation(target) {}

  void Abandon() noexcept { implementation = nullptr; }
  [[nodiscard]] IConstForwardIterator<T>* GetImplementation() const noexcept {
    return implementation;
  }

 private:
  // Holds what is handed out by value for as long as `->` needs it.
  struct Held {
    const T* operator->() const noexcept { return &value; }
    T value;
  };
  static auto Arrow(Reference value) {
    if constexpr (std::is_reference_v<Reference>) {
      return &value;
    } else {
      return Held{value};
    }
  }

  IConstForwardIterator<T>* implementation;
};

/// A forward iterator that can also go back.
template <class T>
class ConstBidirectionalIterator : public ConstForwardIterator<T> {
 public:
  ConstBidirectionalIterator& operator++() noexcept {
    this->GetImplementation()->Increment();
    return *this;
  }
  ConstBidirectionalIterator& operator--() noexcept {
    static_cast<IConstBidirectionalIterator<T>*>(this->GetImplementation())->Decrement();
    return *this;
  }

  [[nodiscard]] ConstBidirectionalIterator begin() const { return *this; }

 protected:
  explicit ConstBidirectionalIterator(IConstBidirectionalIterator<T>* target) noexcept
      : ConstForwardIterator<T>(target) {}
};

/// A bidirectional iterator that reaches any element in constant time.
template <class T>
class ConstRandomIterator : public ConstBidirectionalIterator<T> {
 public:
  using typename IteratorBase<T>::Distance;
  using typename IteratorBase<T>::Reference;

  ConstRandomIterator& operator++() noexcept {
    Get().Increment();
    return *this;
  }
  ConstRandomIterator& operator--() noexcept {
    Get().Decrement();
    return *this;
  }
  ConstRandomIterator& operator+=(Distance count) noexcept {
    Get().Advance(count);
    return *this;
  }
  ConstRandomIterator& operator-=(Distance count) noexcept {
    Get().GoBack(count);
    return *this;
  }
  /// The element `offset` positions from here.
  [[nodiscard]] Reference operator[](Distance offset) const { return Get().GetAt(offset); }

  [[nodiscard]] ConstRandomIterator begin() const { return *this; }

  friend Distance operator-(const ConstRandomIterator& left,
                            const ConstRandomIterator& right) noexcept {
    return left.Get().GetDifference(right.Get());
  }
  friend bool operator<(const ConstRandomIterator& left,
                        const ConstRandomIterator& right) noexcept {
    return left.Get().IsLess(right.Get());
  }
  friend bool operator>(const ConstRandomIterator& left,
                        const ConstRandomIterator& right) noexcept {
    return left.Get().IsGreater(right.Get());
  }

 protected:
  explicit ConstRandomIterator(IConstRandomIterator<T>* target) noexcept
      : ConstBidirectionalIterator<T>(target) {}

 private:
  [[nodiscard]] IConstRandomIterator<T>& Get() const noexcept {
    return *static_cast<IConstRandomIterator<T>*>(this->GetImplementation());
  }
};

}  // namespace Vx
