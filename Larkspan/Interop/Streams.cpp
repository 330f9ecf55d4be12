#include "Larkspan/Interop/Streams.h"

#include <algorithm>

#include "foundation/Vx/IOException.h"

namespace Larkspan::Interop {
namespace {

// Runs `work` on a stream whose state tells what it fails at, whatever its mask would throw.
template <class Stream, class Work>
bool Succeeds(Stream& stream, Work work) {
  try {
    work();
    return !stream.bad();
  } catch (const std::ios_base::failure&) {
    return false;
  }
}

}  // namespace

StreamOBinaryChannel::~StreamOBinaryChannel() = default;

void StreamOBinaryChannel::Write(const char* data, unsigned int size) {
  CheckOpened();
  if (!Succeeds(stream, [&] { stream.write(data, size); }) || stream.fail()) {
    throw Vx::IOException("Failed to write to stream.", __FILE__, __LINE__);
  }
}

void StreamOBinaryChannel::Flush() {
  CheckOpened();
  if (!Succeeds(stream, [&] { stream.flush(); }) || stream.fail()) {
    throw Vx::IOException("Failed to flush stream.", __FILE__, __LINE__);
  }
}

void StreamOBinaryChannel::Close() {
  if (closed) return;
  Flush();
  closed = true;
}

void StreamOBinaryChannel::CheckOpened(const char* file, unsigned int line) const {
  if (closed) throw Vx::IOException("Stream output channel is closed.", file, line);
}

StreamIBinaryChannel::~StreamIBinaryChannel() = default;

unsigned int StreamIBinaryChannel::Read(char* buffer, unsigned int size, ReadSomeModeSelector) {
  CheckOpened();
  if (size == 0 || stream.eof()) return 0;
  std::streamsize count = 0;
  const bool done = Succeeds(stream, [&] {
    if (stream.peek() == std::istream::traits_type::eof()) return;
    // At least the byte that `peek` has seen.
    const std::streamsize held = std::max<std::streamsize>(1, stream.rdbuf()->in_avail());
    stream.read(buffer, std::min<std::streamsize>(held, size));
    count = stream.gcount();
  });
  if (!done || (count == 0 && !stream.eof())) {
    throw Vx::IOException("Failed to read from stream.", __FILE__, __LINE__);
  }
  return static_cast<unsigned int>(count);
}

unsigned __int64 StreamIBinaryChannel::GetAvailable() const {
  CheckOpened();
  const std::streambuf* const buffer = stream.rdbuf();
  if (buffer == nullptr || !stream.good()) return 0;
  return static_cast<unsigned __int64>(std::max<std::streamsize>(0, stream.rdbuf()->in_avail()));
}

void StreamIBinaryChannel::Close() {
  closed = true;
}

void StreamIBinaryChannel::CheckOpened(const char* file, unsigned int line) const {
  if (closed) throw Vx::IOException("Stream input channel is closed.", file, line);
}

OChannelStreambuf::OChannelStreambuf(Vx::OBinaryChannel& target)
    : channel(target), buffer(BufferSize) {
  setp(buffer.data(), buffer.data() + buffer.size());
}

void OChannelStreambuf::PassOn() {
  const auto size = static_cast<std::size_t>(pptr() - pbase());
  setp(buffer.data(), buffer.data() + buffer.size());
  if (size != 0) channel.Write(buffer.data(), size);
}

OChannelStreambuf::int_type OChannelStreambuf::overflow(int_type unit) {
  PassOn();
  if (unit == traits_type::eof()) return traits_type::not_eof(unit);
  return sputc(traits_type::to_char_type(unit));
}

int OChannelStreambuf::sync() {
  PassOn();
  channel.Flush();
  return 0;
}

std::streamsize OChannelStreambuf::xsputn(const char* data, std::streamsize size) {
  if (size < epptr() - pptr()) return std::streambuf::xsputn(data, size);
  PassOn();
  if (size != 0) channel.Write(data, size);
  return size;
}

IChannelStreambuf::IChannelStreambuf(Vx::IBinaryChannel& source)
    : channel(source), buffer(BufferSize) {}

IChannelStreambuf::int_type IChannelStreambuf::underflow() {
  const unsigned int count = channel.Read(buffer.data(), BufferSize, Vx::IBinaryChannel::ReadSome);
  setg(buffer.data(), buffer.data(), buffer.data() + count);
  return count == 0 ? traits_type::eof() : traits_type::to_int_type(*gptr());
}

}  // namespace Larkspan::Interop
