#pragma once

#include <algorithm>

#include "Larkspan/Common/PagedBuffer.h"
#include "foundation/Vx/IOException.h"
#include "foundation/Vx/IllegalArgumentException.h"
#include "foundation/Vx/OBinaryChannel.h"

namespace Larkspan::Common::IO {

/// Collects what is written in memory, in a `PagedBuffer`, and pours it out as often as wanted.
/// The content stays readable after `Close`; memory goes back at destruction.
template <unsigned int PageSize, unsigned int FixedPages>
class PagedBufferOBinaryChannel final : public Vx::OBinaryChannel {
 public:
  /// Takes memory for `capacity` bytes, 0 for none. Throws what `PagedBuffer::SetCapacity` does.
  explicit PagedBufferOBinaryChannel(unsigned int capacity) : buffer(capacity) {}
  ~PagedBufferOBinaryChannel() override = default;

  using OBinaryChannel::Write;
  /// Takes all bytes, or none if it fails. Throws `Vx::IllegalArgumentException` for a null pointer
  /// and for no bytes, `Vx::OutOfMemoryException`, and `Vx::IOException` for more bytes in all than
  /// `PagedBuffer::MaxSize`.
  void Write(const char* data, unsigned int size) override {
    if (data == nullptr) {
      throw Vx::IllegalArgumentException("Invalid buffer: buffer is null.", __FILE__, __LINE__);
    }
    if (size == 0) {
      throw Vx::IllegalArgumentException("Invalid buffer size: size is 0.", __FILE__, __LINE__);
    }
    CheckOpened();
    buffer.Write(data, size);
  }
  void Flush() override { CheckOpened(); }
  void Close() override { closed = true; }

  /// Writes the whole content to `target`, in chunks of at most 65,536 bytes, and takes no memory
  /// for that. Closes and flushes nothing; throws what `target` does. Works before and after
  /// `Close`.
  void WriteTo(Vx::OBinaryChannel& target) const {
    char piece[0x10000];
    const unsigned int end = buffer.GetSize();
    for (unsigned int position = 0; position < end;) {
      const unsigned int wanted = std::min<unsigned int>(sizeof(piece), end - position);
      const unsigned int count = buffer.Read(position, piece, wanted);
      target.Write(piece, count);
      position += count;
    }
  }

 private:
  void CheckOpened(const char* file = __builtin_FILE(),
                   unsigned int line = __builtin_LINE()) const {
    if (!closed) return;
    throw Vx::IOException("Paged buffer binary output channel is closed.", file, line);
  }

  PagedBuffer<PageSize, FixedPages> buffer;
  bool closed = false;
};

}  // namespace Larkspan::Common::IO
