#pragma once

#include <type_traits>

#include "foundation/Vx/Types.h"

namespace Vx {

/// What an iterator over `T` hands out: a reference to the element. A `T` that is itself nothing
/// but references, and says so by a nested `IsReference`, is handed out by value.
template <class T>
struct IteratorReference {
  using Type = const T&;
};
template <class T>
requires T::IsReference struct IteratorReference<T> {
  using Type = T;
};

/// A distance between two positions of a container, in elements.
using IteratorDistance = Int64;

/// How an iterator over `T` does its work; `ConstForwardIterator` and its like are built on it. An
/// iterator checks nothing: it sees whatever stands at its position when it is dereferenced, and it
/// must not be dereferenced at the end. Where two iterators meet, both are of the same class.
template <class T>
class IConstForwardIterator {
 public:
  /// A copy on the heap; the caller owns it and ends it with `delete`. Throws
  /// `OutOfMemoryException`.
  [[nodiscard]] virtual IConstForwardIterator* Clone() const = 0;
  virtual ~IConstForwardIterator() = default;

  [[nodiscard]] virtual typename IteratorReference<T>::Type Dereference() const = 0;
  virtual void Increment() noexcept = 0;
  [[nodiscard]] virtual bool IsEqual(const IConstForwardIterator& other) const noexcept = 0;
  [[nodiscard]] virtual bool IsAtEnd() const noexcept = 0;

 protected:
  IConstForwardIterator() noexcept = default;
  IConstForwardIterator(const IConstForwardIterator&) noexcept = default;
  IConstForwardIterator& operator=(const IConstForwardIterator&) noexcept = default;
};

template <class T>
class IConstBidirectionalIterator : public IConstForwardIterator<T> {
 public:
  virtual void Decrement() noexcept = 0;
};

template <class T>
class IConstRandomIterator : public IConstBidirectionalIterator<T> {
 public:
  /// The element `offset` positions from here.
  [[nodiscard]] virtual typename IteratorReference<T>::Type GetAt(
      IteratorDistance offset) const = 0;
  virtual void Advance(IteratorDistance count) noexcept = 0;
  virtual void GoBack(IteratorDistance count) noexcept = 0;
  /// How far this iterator is ahead of `other`; negative if it is behind.
  [[nodiscard]] virtual IteratorDistance GetDifference(
      const IConstForwardIterator<T>& other) const noexcept = 0;
  [[nodiscard]] virtual bool IsLess(const IConstForwardIterator<T>& other) const noexcept = 0;
  [[nodiscard]] virtual bool IsGreater(const IConstForwardIterator<T>& other) const noexcept = 0;
};

}  // namespace Vx
