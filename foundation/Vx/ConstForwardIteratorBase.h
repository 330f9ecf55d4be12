#pragma once

#include "foundation/Vx/ConstIterator.h"
#include "foundation/Vx/Memory.h"

namespace Vx {

/// Forward iterator over the pairs of a `Table`, in the order of their indexes. `State` knows the
/// position and how to reach the pair there, `Assoc` is the pair of references handed out; the two
/// decide whether values can be changed through it. It shows what stands at its index when it is
/// dereferenced, and costs no memory to copy.
template <class Table, class State, class Assoc>
class ConstForwardIteratorBase final : public ConstForwardIterator<Assoc>,
                                       public IConstForwardIterator<Assoc> {
 public:
  using TablePointer = typename State::TablePointer;
  using value_type = Assoc;
  using difference_type = IteratorDistance;
  using iterator_concept = std::input_iterator_tag;

  /// Over nothing; it equals any iterator at its end.
  ConstForwardIteratorBase() noexcept : ConstForwardIterator<Assoc>(this) {}
  /// At index 0 of `target`, which must outlive the iterator.
  explicit ConstForwardIteratorBase(TablePointer target) noexcept
      : ConstForwardIterator<Assoc>(this), table(target) {}
  ConstForwardIteratorBase(const ConstForwardIteratorBase& source) noexcept
      : ConstForwardIterator<Assoc>(this),
        IConstForwardIterator<Assoc>(source),
        table(source.table),
        state(source.state) {}
  ConstForwardIteratorBase& operator=(const ConstForwardIteratorBase& source) noexcept {
    table = source.table;
    state = source.state;
    return *this;
  }
  ~ConstForwardIteratorBase() override { this->Abandon(); }

  [[nodiscard]] ConstForwardIteratorBase* Clone() const override {
    return New<ConstForwardIteratorBase>(*this);
  }
  [[nodiscard]] Assoc Dereference() const noexcept override { return state.Resolve(*table); }
  void Increment() noexcept override { ++state.index; }
  /// At the end all iterators are equal, whatever their indexes.
  [[nodiscard]] bool IsEqual(const IConstForwardIterator<Assoc>& other) const noexcept override {
    const auto& right = static_cast<const ConstForwardIteratorBase&>(other);
    return (IsAtEnd() && right.IsAtEnd()) || state.index == right.state.index;
  }
  [[nodiscard]] bool IsAtEnd() const noexcept override {
    return table == nullptr || state.index >= table->GetSize();
  }

  ConstForwardIteratorBase& operator++() noexcept {
    Increment();
    return *this;
  }
  ConstForwardIteratorBase operator++(int) noexcept {
    ConstForwardIteratorBase before(*this);
    Increment();
    return before;
  }
  [[nodiscard]] ConstForwardIteratorBase begin() const noexcept { return *this; }

  friend bool operator==(const ConstForwardIteratorBase& left,
                         const ConstForwardIteratorBase& right) noexcept {
    return left.IsEqual(right);
  }

 private:
  TablePointer table = nullptr;
  State state;
};

}  // namespace Vx
