#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

#include "foundation/Vx/IOException.h"
#include "foundation/Vx/IllegalArgumentException.h"
#include "foundation/Vx/Memory.h"
#include "foundation/Vx/OutOfMemoryException.h"
#include "foundation/Vx/PagedArray.h"
#include "foundation/Vx/Types.h"

namespace Larkspan::Common {

/// A growing sequence of bytes in memory that does not copy its full pages in order to grow.
///
/// The bytes lie in pages of `PageSize` bytes, a power of two; byte p is byte p % PageSize of page
/// p / PageSize. The first `FixedPages` page records are part of the object, so that a small
/// content needs no page table. Every page but the last is full-size; the last can be smaller, but
/// only `SetCapacity` makes it so. Pages fill strictly in order.
///
/// Sizes, positions and capacities are 32-bit numbers of bytes. What would take the buffer beyond
/// `MaxSize` throws `Vx::IOException`, as any output that is full does, and changes nothing;
/// running out of memory throws `Vx::OutOfMemoryException` and leaves bytes and capacity as they
/// were.
template <unsigned int PageSize, unsigned int FixedPages>
class PagedBuffer final {
 public:
  static_assert(std::has_single_bit(PageSize), "a position is split by shifting");
  static_assert(FixedPages > 0, "the first page lies in the object");

  /// The most bytes that a buffer holds: up to here, rounding up to whole pages stays in 32 bits.
  static constexpr unsigned int MaxSize = 0xFFFFFFFFU - (PageSize - 1);

  /// An empty buffer, with the capacity that `SetCapacity` makes; 0 takes no memory.
  explicit PagedBuffer(unsigned int capacity) {
    if (capacity != 0) SetCapacity(capacity);
  }
  PagedBuffer(const PagedBuffer&) = delete;
  PagedBuffer& operator=(const PagedBuffer&) = delete;
  ~PagedBuffer() = default;

  /// The bytes stored.
  [[nodiscard]] unsigned int GetSize() const noexcept { return size; }
  /// The bytes that fit without growing, stored ones included.
  [[nodiscard]] unsigned int GetCapacity() const noexcept {
    return pageCount == 0 ? 0 : GetStart(pageCount) + GetPage(*this, pageCount - 1).capacity;
  }

  /// Allocates exactly `capacity` bytes, in both directions. Throws
  /// `Vx::IllegalArgumentException` if that is less than the buffer holds.
  void SetCapacity(unsigned int capacity) {
    if (capacity < size) {
      throw Vx::IllegalArgumentException(
          "Invalid buffer capacity: the requested capacity must be higher the current size.",
          __FILE__, __LINE__);
    }
    CheckLimit(capacity);
    const unsigned int pages = GetPageCount(capacity);
    if (capacity > GetCapacity()) {
      Grow(pages, capacity - GetStart(pages));
    } else if (capacity < GetCapacity()) {
      Shrink(pages, capacity - GetStart(pages));
    }
  }

  /// Allocates at least `capacity` bytes, by whole pages.
  void EnsureCapacity(unsigned int capacity) {
    CheckLimit(capacity);
    if (capacity > GetCapacity()) Grow(GetPageCount(capacity), PageSize);
  }

  /// Appends all `dataSize` bytes, or none if it fails. Throws `Vx::IllegalArgumentException` for a
  /// null pointer and for no bytes.
  void Write(const char* data, unsigned int dataSize) {
    CheckMemory(data, dataSize);
    CheckLimit(static_cast<Vx::UInt64>(size) + dataSize);
    EnsureCapacity(size + dataSize);
    while (dataSize > 0) {
      Page& page = GetPage(*this, size / PageSize);
      const unsigned int count = std::min(page.capacity - page.used, dataSize);
      std::memcpy(page.bytes.get() + page.used, data, count);
      page.used += count;
      size += count;
      data += count;
      dataSize -= count;
    }
  }

  /// Copies out `bufferSize` bytes from `position` on, or as many as there are, and returns their
  /// number: 0 from the end on. Throws `Vx::IllegalArgumentException` for a null pointer and for
  /// no bytes.
  [[nodiscard]] unsigned int Read(unsigned int position, char* buffer,
                                  unsigned int bufferSize) const {
    CheckMemory(buffer, bufferSize);
    if (position >= size) return 0;
    const unsigned int wanted = std::min(bufferSize, size - position);
    for (unsigned int done = 0; done < wanted;) {
      const Page& page = GetPage(*this, (position + done) / PageSize);
      const unsigned int offset = (position + done) % PageSize;
      const unsigned int count = std::min(page.used - offset, wanted - done);
      std::memcpy(buffer + done, page.bytes.get() + offset, count);
      done += count;
    }
    return wanted;
  }

 private:
  struct Page {
    Page() noexcept = default;
    explicit Page(unsigned int room) : capacity(room), bytes(Vx::NewByteArray(room)) {}

    void EnsureCapacity(unsigned int room) {
      if (room > capacity) SetCapacity(room);
    }
    void SetCapacity(unsigned int room) {
      if (room == capacity) return;
      Page resized(room);
      std::copy_n(bytes.get(), used, resized.bytes.get());
      resized.used = used;
      *this = std::move(resized);
    }

    unsigned int capacity = 0;
    unsigned int used = 0;
    Vx::ByteArray bytes;
  };

  static void CheckLimit(Vx::UInt64 capacity) {
    if (capacity <= MaxSize) return;
    throw Vx::IOException("Failed to grow paged buffer: maximum supported size is exceeded.",
                          __FILE__, __LINE__);
  }

  static void CheckMemory(const char* memory, unsigned int memorySize,
                          unsigned int line = __builtin_LINE()) {
    if (memory == nullptr) {
      throw Vx::IllegalArgumentException("Invalid buffer: buffer is null.", __FILE__, line);
    }
    if (memorySize == 0) {
      throw Vx::IllegalArgumentException("Invalid buffer size: buffer size is 0.", __FILE__, line);
    }
  }

  static unsigned int GetPageCount(unsigned int capacity) noexcept {
    return (capacity + (PageSize - 1)) / PageSize;
  }

  // The position at which the last of `pages` pages begins.
  static unsigned int GetStart(unsigned int pages) noexcept {
    return pages == 0 ? 0 : (pages - 1) * PageSize;
  }

  template <class Buffer>
  static auto& GetPage(Buffer& buffer, unsigned int index) noexcept {
    return index < FixedPages ? buffer.fixedPages[index] : buffer.morePages[index - FixedPages];
  }

  // Leads to `pages` pages, not fewer than there are, the last with `lastCapacity` bytes. A last
  // page that falls short grows only when all new pages are there, so that they can go again.
  void Grow(unsigned int pages, unsigned int lastCapacity) {
    const unsigned int before = pageCount;
    try {
      while (pageCount < pages) AddPage(pageCount + 1 < pages ? PageSize : lastCapacity);
      if (before > 0) {
        GetPage(*this, before - 1).EnsureCapacity(before < pages ? PageSize : lastCapacity);
      }
    } catch (...) {
      while (pageCount > before) RemoveLastPage();
      throw;
    }
  }

  // Leads to `pages` pages, not more than there are, the last with `lastCapacity` bytes. What can
  // fail comes first.
  void Shrink(unsigned int pages, unsigned int lastCapacity) {
    if (pages > 0) GetPage(*this, pages - 1).SetCapacity(lastCapacity);
    while (pageCount > pages) RemoveLastPage();
  }

  void AddPage(unsigned int capacity) {
    if (pageCount < FixedPages) {
      fixedPages[pageCount] = Page(capacity);
    } else {
      morePages.Emplace(capacity);
    }
    ++pageCount;
  }

  void RemoveLastPage() noexcept {
    --pageCount;
    if (pageCount < FixedPages) {
      fixedPages[pageCount] = Page();
      return;
    }
    try {
      morePages.Delete(pageCount - FixedPages);
    } catch (const Vx::OutOfMemoryException&) {
      // The page is gone. Only the page table is still larger than it has to be.
    }
  }

  unsigned int pageCount = 0;
  std::array<Page, FixedPages> fixedPages;
  Vx::PagedArray<Page> morePages;
  unsigned int size = 0;
};

}  // namespace Larkspan::Common
