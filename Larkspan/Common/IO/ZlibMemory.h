#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>

#include "foundation/Vx/Memory.h"
#include "foundation/Vx/OutOfMemoryException.h"

namespace Larkspan::Common::IO {

/// zlib compares the first character alone with its own version.
inline constexpr const char* ZlibVersion = "1.2.3";

/// Frees memory by `Vx_free`.
struct VxFree {
  void operator()(void* memory) const noexcept { Vx_free(memory); }
};

/// A buffer or a zlib stream of a deflate or inflate channel.
template <class T>
using ZlibMemory = std::unique_ptr<T, VxFree>;

/// `size` bytes from `Vx_malloc`. Throws `Vx::OutOfMemoryException` with the message and position
/// given.
template <class T>
[[nodiscard]] ZlibMemory<T> AllocateZlibMemory(std::size_t size, const char* message,
                                               const char* fileName, unsigned int lineNumber) {
  using Element = std::remove_extent_t<T>;
  ZlibMemory<T> memory(static_cast<Element*>(Vx_malloc(size)));
  if (!memory && size != 0) throw Vx::OutOfMemoryException(message, fileName, lineNumber);
  return memory;
}

/// The messages for running out of memory, for each block that a channel needs.
struct ZlibFailures {
  const char* input;
  const char* output;
  const char* stream;
};

/// Takes the memory of a channel, in the order in which it is told: two buffers of `bufferSize`
/// bytes, and the stream, cleared as zlib wants it. Throws as above.
template <class Stream>
void AllocateZlibChannel(unsigned int bufferSize, const ZlibFailures& failures,
                         const char* fileName, unsigned int lineNumber, ZlibMemory<char[]>& input,
                         ZlibMemory<char[]>& output, ZlibMemory<Stream>& stream) {
  input = AllocateZlibMemory<char[]>(bufferSize, failures.input, fileName, lineNumber);
  output = AllocateZlibMemory<char[]>(bufferSize, failures.output, fileName, lineNumber);
  stream = AllocateZlibMemory<Stream>(sizeof(Stream), failures.stream, fileName, lineNumber);
  *stream = Stream{};
}

}  // namespace Larkspan::Common::IO
