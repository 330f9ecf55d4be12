#include "Larkspan/Common/IO/InflaterIBinaryChannel.h"

#include <algorithm>
#include <cstring>

#include <zlib.h>

#include "foundation/Vx/IOException.h"
#include "foundation/Vx/IllegalArgumentException.h"

namespace Larkspan::Common::IO {
namespace {

// Zero-copy input: zlib is markedly faster on more input at a time than a small buffer holds. Large
// reads decompress the blocks of the buffer's size that lie in the wrapped channel's memory, and
// then consume as many of them as reading block by block would have.
//
// Given more input, zlib may look past the last byte of its output, into a block that would not
// have been read yet. The refill that ends each large read mostly needs that block as well, but not
// always: zlib can hold back about 1032 bytes of output for want of room, more than a small buffer
// takes. So a damaged or cut stream may show its failure a call earlier or later than reading block
// by block would.
constexpr unsigned int MinBorrowingSize = 512;

// Keeps sums of sizes within 32 bits; no buffer is nearly as large.
constexpr std::size_t MaxBorrowed = 0x10000000;

}  // namespace

InflaterIBinaryChannel::InflaterIBinaryChannel(Vx::IBinaryChannel& channel, unsigned int bufferSize)
    : wrapped(channel) {
  Initialize(bufferSize);
}

InflaterIBinaryChannel::InflaterIBinaryChannel(const Vx::IBinaryChannelRef& channel,
                                               unsigned int bufferSize)
    : wrapped(channel, "Invalid input channel: channel is null.", __FILE__, __LINE__) {
  Initialize(bufferSize);
}

InflaterIBinaryChannel::~InflaterIBinaryChannel() {
  if (stream) inflateEnd(stream.get());
  Destroy();
}

void InflaterIBinaryChannel::Initialize(unsigned int bufferSize) {
  if (bufferSize == 0) {
    throw Vx::IllegalArgumentException("Invalid buffer size: buffer size is too small.", __FILE__,
                                       __LINE__);
  }
  inputCapacity = outputCapacity = bufferSize;
  FindPeekable();
  AllocateZlibChannel(bufferSize,
                      {"Failed to allocate input buffer for inflater input channel.",
                       "Failed to allocate output buffer for inflater input channel.",
                       "Failed to allocate inflater."},
                      __FILE__, __LINE__, input, output, stream);
  if (inflateInit_(stream.get(), ZlibVersion, static_cast<int>(sizeof(z_stream))) != Z_OK) {
    // The stream was not set up: the members free the memory, and nothing else is to be ended.
    throw Vx::IOException("Failed to initialize inflater.", __FILE__, __LINE__);
  }
}

void InflaterIBinaryChannel::FindPeekable() noexcept {
  Vx::PeekableInput* const face = Vx::PeekableInput::Find(GetBaseChannel());
  const bool gains = face != nullptr && face->GetPeekSize() > inputCapacity;
  peekable = gains && inputCapacity >= MinBorrowingSize ? face : nullptr;
}

void InflaterIBinaryChannel::Restart(const Vx::IBinaryChannelRef& channel) noexcept {
  wrapped.Set(channel);
  FindPeekable();
  inflateReset(stream.get());
  SetInput(nullptr, 0);
  valid = position = borrowed = 0;
  streamEnded = closed = false;
}

void InflaterIBinaryChannel::Destroy() noexcept {
  input.reset();
  output.reset();
  stream.reset();
}

void InflaterIBinaryChannel::EnsureOpened(const char* file, unsigned int line) const {
  if (closed) throw Vx::IOException("Inflater input channel closed.", file, line);
}

// The pump: decompresses into `target` until it is full or the stream has ended; returns the bytes.
unsigned int InflaterIBinaryChannel::Inflate(char* target, unsigned int size,
                                             bool borrowing) const {
  stream->avail_out = size;
  stream->next_out = reinterpret_cast<Bytef*>(target);
  while (stream->avail_out != 0 && !streamEnded) {
    if (stream->avail_in == 0) TakeInput(borrowing);
    const int result = inflate(stream.get(), Z_NO_FLUSH);
    streamEnded = result == Z_STREAM_END;
    SettleInput();
    if (result != Z_OK && result != Z_STREAM_END) {
      Vx::UniString message;
      message.Printf("Inflate failed: %s", zError(result));
      throw Vx::IOException(message, __FILE__, __LINE__);
    }
  }
  return size - stream->avail_out;
}

void InflaterIBinaryChannel::TakeInput(bool borrowing) const {
  if (borrowing && peekable != nullptr) {
    const std::string_view bytes = peekable->Peek().substr(0, MaxBorrowed);
    borrowed = static_cast<unsigned int>(bytes.size() - bytes.size() % inputCapacity);
    SetInput(bytes.data(), borrowed);
  }
  if (borrowed != 0) return;
  const unsigned int count = GetBaseChannel().Read(input.get(), inputCapacity, ReadSome);
  if (count == 0) {
    throw Vx::IOException("Inflate failed: end of stream reached.", __FILE__, __LINE__);
  }
  SetInput(input.get(), count);
}

void InflaterIBinaryChannel::SettleInput() const {
  if (borrowed == 0) return;
  const unsigned int used = borrowed - stream->avail_in;
  const unsigned int pieces = (used + inputCapacity - 1) / inputCapacity;
  const unsigned int rest = pieces * inputCapacity - used;
  std::memcpy(input.get(), stream->next_in, rest);
  SetInput(input.get(), rest);
  borrowed = 0;
  peekable->Advance(pieces * inputCapacity);
}

void InflaterIBinaryChannel::SetInput(const char* bytes, unsigned int size) const noexcept {
  stream->next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes));
  stream->avail_in = size;
}

void InflaterIBinaryChannel::FillBuffer() const {
  valid = Inflate(output.get(), outputCapacity, false);
  position = 0;
}

void InflaterIBinaryChannel::RefillUsedUpBuffer() const {
  if (position == valid && !streamEnded) FillBuffer();
}

unsigned int InflaterIBinaryChannel::TakeBuffered(char* target, unsigned int size) {
  const unsigned int count = std::min(size, valid - position);
  std::memcpy(target, output.get() + position, count);
  position += count;
  return count;
}

unsigned int InflaterIBinaryChannel::Read(char* buffer, unsigned int size, ReadSomeModeSelector) {
  EnsureOpened(__FILE__, __LINE__);
  RefillUsedUpBuffer();
  if (size == 0) return 0;
  unsigned int total = TakeBuffered(buffer, size);
  // The buffer is used up and more is wanted: as many whole buffers as still fit are decompressed
  // straight into the caller's. The wrapped channel is read as if each had gone through ours.
  if (position == valid && !streamEnded && size - total >= outputCapacity) {
    const unsigned int left = size - total;
    total += Inflate(buffer + total, left - left % outputCapacity, true);
  }
  // Runs ahead of need by one buffer, so that the end of the stream is seen with its last byte.
  RefillUsedUpBuffer();
  return total + TakeBuffered(buffer + total, size - total);
}

unsigned __int64 InflaterIBinaryChannel::GetAvailable() const {
  EnsureOpened(__FILE__, __LINE__);
  RefillUsedUpBuffer();
  return valid - position;
}

void InflaterIBinaryChannel::Close() {
  if (closed) return;
  GetBaseChannel().Close();
  closed = true;
}

}  // namespace Larkspan::Common::IO
