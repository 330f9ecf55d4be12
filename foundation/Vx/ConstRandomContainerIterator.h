#pragma once

#include <iterator>

#include "foundation/Vx/ConstIterator.h"
#include "foundation/Vx/Memory.h"

namespace Vx {

/// Random-access iterator over the elements of a `Container` that are reached by index. It shows
/// what stands at its index when it is dereferenced, and costs no memory to copy.
template <class Container>
class ConstRandomContainerIterator final
    : public ConstRandomIterator<typename Container::ElementType>,
      public IConstRandomIterator<typename Container::ElementType> {
 public:
  using ElementType = typename Container::ElementType;
  using Distance = IteratorDistance;
  using value_type = ElementType;
  using difference_type = Distance;
  using iterator_concept = std::forward_iterator_tag;
  using iterator_category = std::forward_iterator_tag;
  using pointer = const ElementType*;
  using reference = const ElementType&;

  /// Over nothing, and so at its end.
  ConstRandomContainerIterator() noexcept : ConstRandomIterator<ElementType>(this) {}
  /// At index 0 of `target`, which must outlive the iterator.
  explicit ConstRandomContainerIterator(const Container& target) noexcept
      : ConstRandomIterator<ElementType>(this), container(&target) {}
  ConstRandomContainerIterator(const ConstRandomContainerIterator& source) noexcept
      : ConstRandomIterator<ElementType>(this),
        IConstRandomIterator<ElementType>(source),
        container(source.container),
        index(source.index) {}
  // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): owns nothing.
  ConstRandomContainerIterator& operator=(const ConstRandomContainerIterator& source) noexcept {
    container = source.container;
    index = source.index;
    return *this;
  }
  ~ConstRandomContainerIterator() override { this->Abandon(); }

  [[nodiscard]] ConstRandomContainerIterator* Clone() const override {
    return New<ConstRandomContainerIterator>(*this);
  }
  [[nodiscard]] const ElementType& Dereference() const noexcept override { return GetAt(0); }
  void Increment() noexcept override { Advance(1); }
  [[nodiscard]] bool IsEqual(
      const IConstForwardIterator<ElementType>& other) const noexcept override {
    return GetDifference(other) == 0;
  }
  [[nodiscard]] bool IsAtEnd() const noexcept override {
    return container == nullptr || index >= container->GetSize();
  }
  void Decrement() noexcept override { Advance(-1); }
  [[nodiscard]] const ElementType& GetAt(Distance offset) const noexcept override {
    return (*container)[static_cast<unsigned int>(index + offset)];
  }
  void Advance(Distance count) noexcept override {
    index = static_cast<unsigned int>(index + count);
  }
  void GoBack(Distance count) noexcept override { Advance(-count); }
  [[nodiscard]] Distance GetDifference(
      const IConstForwardIterator<ElementType>& other) const noexcept override {
    return Distance{index} - static_cast<const ConstRandomContainerIterator&>(other).index;
  }
  [[nodiscard]] bool IsLess(
      const IConstForwardIterator<ElementType>& other) const noexcept override {
    return GetDifference(other) < 0;
  }
  [[nodiscard]] bool IsGreater(
      const IConstForwardIterator<ElementType>& other) const noexcept override {
    return GetDifference(other) > 0;
  }

  // What a loop uses, without the calls through the interface that the base makes.
  [[nodiscard]] const ElementType& operator*() const noexcept { return GetAt(0); }
  [[nodiscard]] const ElementType* operator->() const noexcept { return &GetAt(0); }
  [[nodiscard]] const ElementType& operator[](Distance offset) const noexcept {
    return GetAt(offset);
  }

  ConstRandomContainerIterator& operator++() noexcept {
    Increment();
    return *this;
  }
  ConstRandomContainerIterator operator++(int) noexcept {
    ConstRandomContainerIterator before(*this);
    Increment();
    return before;
  }
  ConstRandomContainerIterator& operator--() noexcept {
    Decrement();
    return *this;
  }
  ConstRandomContainerIterator operator--(int) noexcept {
    ConstRandomContainerIterator before(*this);
    Decrement();
    return before;
  }
  [[nodiscard]] ConstRandomContainerIterator begin() const noexcept { return *this; }

  friend bool operator==(const ConstRandomContainerIterator& left,
                         const ConstRandomContainerIterator& right) noexcept {
    return left.IsEqual(right);
  }
  friend bool operator==(const ConstRandomContainerIterator& iterator,
                         std::default_sentinel_t) noexcept {
    return iterator.IsAtEnd();
  }

 private:
  const Container* container = nullptr;
  unsigned int index = 0;
};

}  // namespace Vx
