#pragma once

#include <algorithm>
#include <bit>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "foundation/Vx/ConstRandomContainerIterator.h"
#include "foundation/Vx/ElementMemory.h"
#include "foundation/Vx/RandomContainer.h"

namespace Vx {

/// A growing array whose elements never move when it grows: a pointer to an element holds until
/// the element itself is removed.
///
/// Elements live in pages of eight. Pages come in blocks, each one allocation: the first block has
/// one page, the second two, and so on, so that n elements take about the square root of n
/// allocations and unused room of that order. A table of page pointers finds an element
/// by its index; while there is one page, the table is a member of the object. Shrinking lags
/// behind by one block, so that a size that moves up and down around a block's edge does not
/// allocate and free in turn.
template <class T>
class PagedArray : public RandomContainer<T> {
 public:
  PagedArray() noexcept = default;
  PagedArray(const PagedArray&) = delete;
  PagedArray& operator=(const PagedArray&) = delete;
  ~PagedArray() { Clear(); }

  /// Appends a copy of `element`, which may be one of this array. Constant time, but for the
  /// memory. Throws `OutOfMemoryException` or what the copying throws; the elements are then as
  /// they were.
  void Push(const T& element) { Emplace(element); }

  /// Appends an element made from `arguments`; returns it. Otherwise as `Push`.
  template <class... Arguments>
  T& Emplace(Arguments&&... arguments) {
    Reserve(size + 1);
    T* const element =
        ::new (static_cast<void*>(&(*this)[size])) T(std::forward<Arguments>(arguments)...);
    ++size;
    return *element;
  }

  /// Removes the last element; there must be one. Throws `OutOfMemoryException` if freeing pages
  /// needs a smaller page table and there is no memory for that: the element is gone all the same,
  /// and the next removal tries again.
  void Pop() {
    std::destroy_at(&(*this)[size - 1]);
    --size;
    if (size <= shrinkMark) Shrink(size);
  }

  /// Removes the element at `index`; each later one moves one position down. Linear in the number
  /// of those. Throws as `Pop` does, or what assigning an element throws: all elements are valid
  /// then, but some may already have moved.
  void Delete(unsigned int index) {
    for (unsigned int i = index; i + 1 < size; ++i) {
      if constexpr (std::is_nothrow_move_assignable_v<T>) {
        (*this)[i] = std::move((*this)[i + 1]);
      } else {
        (*this)[i] = (*this)[i + 1];
      }
    }
    Pop();
  }

  /// Removes all elements, in the order of their indexes, and frees all memory.
  void Clear() noexcept {
    for (unsigned int i = 0; i < size; ++i) std::destroy_at(&(*this)[i]);
    FreeBlocks(pageTable, GetShape(), 0);
    SetTable(nullptr);
    SetShape(Shape());
    size = 0;
  }

  /// Makes room for `n` elements in all, by whole blocks. Throws `OutOfMemoryException`; the
  /// capacity is then as it was.
  void Reserve(unsigned int n) {
    if (n <= capacity) return;
    const Shape present = GetShape();
    const Shape grown = GrowShape(present, n);
    const unsigned int room = GetRoom(grown.pages);
    T** const table = room > GetRoom(present.pages) ? NewTable(room, present.pages) : pageTable;
    AddBlocks(table, present, grown);
    SetTable(table);
    SetShape(grown);
  }

  /// Frees every block that `n` elements, not fewer than there are, leave empty, provided that the
  /// last two blocks are among them. Throws `OutOfMemoryException` if that needs a smaller page
  /// table and there is no memory for it; nothing has changed then.
  void Shrink(unsigned int n) {
    if (n > shrinkMark) return;
    const Shape present = GetShape();
    Shape shrunk = present;
    while (shrunk.pages != 0 && shrunk.pages - shrunk.lastBlock >= GetPageCount(n)) {
      shrunk.RemoveBlock();
    }
    const unsigned int room = GetRoom(shrunk.pages);
    T** const table = room < GetRoom(present.pages) ? NewTable(room, shrunk.pages) : pageTable;
    FreeBlocks(pageTable, present, shrunk.pages);
    SetTable(table);
    SetShape(shrunk);
  }

  [[nodiscard]] unsigned int GetCapacity() const noexcept { return capacity; }
  [[nodiscard]] unsigned int GetSize() const noexcept { return size; }
  [[nodiscard]] bool IsEmpty() const noexcept { return size == 0; }

  [[nodiscard]] T& operator[](unsigned int index) noexcept {
    return pageTable[index / PageSize][index % PageSize];
  }
  [[nodiscard]] const T& operator[](unsigned int index) const noexcept {
    return pageTable[index / PageSize][index % PageSize];
  }

  /// An iterator at the element with index 0.
  [[nodiscard]] ConstRandomContainerIterator<PagedArray> EnumerateElements() const& noexcept {
    return ConstRandomContainerIterator<PagedArray>(*this);
  }
  /// The iterator would outlive the array.
  void EnumerateElements() const&& = delete;

 private:
  static constexpr unsigned int PageSize = 8;
  static constexpr unsigned int MaxCapacity = 0xFFFFFFFFU / PageSize * PageSize;

  // All pages, and how many of them are in the last block; the block before it has one less.
  struct Shape {
    void AddBlock() noexcept { pages += ++lastBlock; }
    void RemoveBlock() noexcept { pages -= lastBlock--; }

    unsigned int pages = 0;
    unsigned int lastBlock = 0;
  };

  static unsigned int GetPageCount(unsigned int elements) noexcept {
    return elements / PageSize + (elements % PageSize != 0 ? 1 : 0);
  }

  // The slots of the page table for `pages` pages.
  static unsigned int GetRoom(unsigned int pages) noexcept {
    return pages == 0 ? 0 : std::bit_ceil(pages);
  }

  // The size of the last block is not stored: the last two blocks, n and n - 1 pages, lie between
  // the mark and the capacity. With blocks of 1, 2 and 3 pages the capacity is 48 and the mark 8:
  // (48 - 8) / 8 = 5 pages, and (5 + 1) / 2 = 3 are in the last.
  [[nodiscard]] Shape GetShape() const noexcept {
    return Shape{capacity / PageSize, ((capacity - shrinkMark) / PageSize + 1) / 2};
  }

  void SetShape(const Shape& shape) noexcept {
    const unsigned int lastTwo = shape.lastBlock == 0 ? 0 : 2 * shape.lastBlock - 1;
    capacity = shape.pages * PageSize;
    shrinkMark = shape.pages > lastTwo ? (shape.pages - lastTwo) * PageSize : 0;
  }

  static Shape GrowShape(Shape shape, unsigned int elements) {
    while (shape.pages < GetPageCount(elements)) shape.AddBlock();
    if (shape.pages > MaxCapacity / PageSize) ThrowOutOfMemory();
    return shape;
  }

  // A page table with the first `count` pointers of the present one, the other slots null.
  T** NewTable(unsigned int room, unsigned int count) {
    if (room == 0) return nullptr;
    T** const table = room == 1 ? &onlyPage : NewElements<T*>(room);
    std::copy_n(pageTable, count, table);
    std::fill(table + count, table + room, nullptr);
    return table;
  }

  void FreeTable(T** table) noexcept {
    if (table != &onlyPage) DeleteArrayOperator(table);
  }

  void SetTable(T** table) noexcept {
    if (table == pageTable) return;
    FreeTable(pageTable);
    pageTable = table;
  }

  // Fills `table` with the blocks that lead from `present` to `grown`. On failure the new blocks
  // and the table, if it is a new one, are gone again.
  void AddBlocks(T** table, const Shape& present, const Shape& grown) {
    Shape filled = present;
    try {
      while (filled.pages < grown.pages) {
        Shape next = filled;
        next.AddBlock();
        T* const block = NewElements<T>(std::size_t{next.lastBlock} * PageSize);
        for (unsigned int i = 0; i < next.lastBlock; ++i) {
          table[filled.pages + i] = block + std::size_t{i} * PageSize;
        }
        filled = next;
      }
    } catch (...) {
      FreeBlocks(table, filled, present.pages);
      if (table != pageTable) FreeTable(table);
      throw;
    }
  }

  // Frees blocks of `table`, which has `shape`, from the last on, until `pages` pages are left.
  static void FreeBlocks(T** table, Shape shape, unsigned int pages) noexcept {
    while (shape.pages > pages) {
      T** const block = table + (shape.pages - shape.lastBlock);
      DeleteArrayOperator(*block);
      std::fill_n(block, shape.lastBlock, nullptr);
      shape.RemoveBlock();
    }
  }

  T** pageTable = nullptr;
  T* onlyPage = nullptr;  // the page table while one slot is enough
  unsigned int capacity = 0;
  unsigned int shrinkMark = 0;  // the size at which the last two blocks hold no element
  unsigned int size = 0;
};

}  // namespace Vx
