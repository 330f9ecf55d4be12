#include "Larkspan/Common/IO/DeflaterOBinaryChannel.h"

#include <algorithm>
#include <cstring>

#include <zlib.h>

#include "foundation/Vx/IOException.h"
#include "foundation/Vx/IllegalArgumentException.h"

namespace Larkspan::Common::IO {
namespace {

constexpr unsigned int MinBufferSize = 64;

void CheckArguments(DeflaterOBinaryChannel::CompressionLevel level, unsigned int bufferSize) {
  switch (level) {
    case DeflaterOBinaryChannel::DefaultCompression:
    case DeflaterOBinaryChannel::NoCompression:
    case DeflaterOBinaryChannel::BestSpeed:
    case DeflaterOBinaryChannel::BestCompression:
      break;
    default:
      throw Vx::IllegalArgumentException("Invalid compression level.", __FILE__, __LINE__);
  }
  if (bufferSize < MinBufferSize) {
    throw Vx::IllegalArgumentException("Invalid buffer size: buffer size is too small.", __FILE__,
                                       __LINE__);
  }
}

}  // namespace

DeflaterOBinaryChannel::DeflaterOBinaryChannel(Vx::OBinaryChannel& channel, CompressionLevel level,
                                               unsigned int bufferSize)
    : wrapped(channel) {
  Initialize(level, bufferSize);
}

DeflaterOBinaryChannel::DeflaterOBinaryChannel(const Vx::OBinaryChannelRef& channel,
                                               CompressionLevel level, unsigned int bufferSize)
    : wrapped(channel, "Invalid output channel: channel is null.", __FILE__, __LINE__) {
  Initialize(level, bufferSize);
}

DeflaterOBinaryChannel::~DeflaterOBinaryChannel() {
  if (stream) deflateEnd(stream.get());
  Destroy();
}

void DeflaterOBinaryChannel::Initialize(CompressionLevel level, unsigned int bufferSize) {
  CheckArguments(level, bufferSize);
  inputCapacity = outputCapacity = bufferSize;
  AllocateZlibChannel(bufferSize,
                      {"Failed to allocate input buffer for deflater output channel.",
                       "Failed to allocate output buffer for deflater output channel.",
                       "Failed to allocate deflater."},
                      __FILE__, __LINE__, input, output, stream);
  if (deflateInit_(stream.get(), level, ZlibVersion, static_cast<int>(sizeof(z_stream))) != Z_OK) {
    // The stream was not set up: the members free the memory, and nothing else is to be ended.
    throw Vx::IOException("Failed to initialize deflater.", __FILE__, __LINE__);
  }
}

void DeflaterOBinaryChannel::Restart(const Vx::OBinaryChannelRef& channel) noexcept {
  wrapped.Set(channel);
  deflateReset(stream.get());
  waiting = 0;
  closed = false;
}

void DeflaterOBinaryChannel::Destroy() noexcept {
  input.reset();
  output.reset();
  stream.reset();
}

void DeflaterOBinaryChannel::EnsureOpened(const char* file, unsigned int line) const {
  if (closed) throw Vx::IOException("Deflater output channel closed.", file, line);
}

void DeflaterOBinaryChannel::FlushBuffer(int flush) {
  stream->avail_in = waiting;
  stream->next_in = reinterpret_cast<Bytef*>(input.get());
  bool finished = false;
  while (flush == Z_FINISH ? !finished : stream->avail_in != 0) {
    stream->avail_out = outputCapacity;
    stream->next_out = reinterpret_cast<Bytef*>(output.get());
    const int result = deflate(stream.get(), flush);
    if (result != Z_OK && result != Z_STREAM_END) {
      Vx::UniString message;
      message.Printf("Deflate failed: %s", zError(result));
      throw Vx::IOException(message, __FILE__, __LINE__);
    }
    finished = result == Z_STREAM_END;
    const unsigned int count = outputCapacity - stream->avail_out;
    if (count != 0) GetBaseChannel().Write(output.get(), count);
  }
  waiting = 0;
}

void DeflaterOBinaryChannel::Write(const char* data, unsigned int size) {
  EnsureOpened(__FILE__, __LINE__);
  while (size != 0) {
    if (waiting == inputCapacity) FlushBuffer(Z_NO_FLUSH);
    const unsigned int count = std::min(size, inputCapacity - waiting);
    std::memcpy(input.get() + waiting, data, count);
    waiting += count;
    data += count;
    size -= count;
  }
}

void DeflaterOBinaryChannel::Flush() {
  EnsureOpened(__FILE__, __LINE__);
  FlushBuffer(Z_SYNC_FLUSH);
  GetBaseChannel().Flush();
}

void DeflaterOBinaryChannel::Finish() {
  EnsureOpened(__FILE__, __LINE__);
  FlushBuffer(Z_FINISH);
}

void DeflaterOBinaryChannel::Close() {
  if (closed) return;
  FlushBuffer(Z_FINISH);
  GetBaseChannel().Flush();
  GetBaseChannel().Close();
  closed = true;
}

}  // namespace Larkspan::Common::IO
