#include "foundation/Vx/ChunkedIBinarySubChannel.h"

#include <algorithm>

#include "foundation/Vx/EndOfInputException.h"
#include "foundation/Vx/IOException.h"

namespace Vx {

ChunkedIBinarySubChannel::ChunkedIBinarySubChannel(IBinaryChannel& source,
                                                   const IProtocolX& form) noexcept
    : channel(source), protocol(form), peekable(PeekableInput::Find(source)) {}

ChunkedIBinarySubChannel::~ChunkedIBinarySubChannel() = default;

unsigned int ChunkedIBinarySubChannel::Read(char* buffer, unsigned int size, ReadSomeModeSelector) {
  CheckOpened();
  return ReadFrame(buffer, size);
}

std::string_view ChunkedIBinarySubChannel::Peek() {
  CheckOpened();
  if (!EnterFrame()) return {};
  const std::string_view bytes = peekable->Peek();
  if (bytes.empty()) throw EndOfInputException("End of input reached.", __FILE__, __LINE__);
  return bytes.substr(0, left);
}

void ChunkedIBinarySubChannel::Advance(unsigned int size) {
  peekable->Advance(size);
  left -= size;
  passed += size;
}

unsigned __int64 ChunkedIBinarySubChannel::GetAvailable() const {
  CheckOpened();
  if (!EnterFrame()) return 0;
  return std::min<unsigned __int64>(left, channel.GetAvailable());
}

void ChunkedIBinarySubChannel::Close() {
  if (closed) return;
  char dropped[4096];
  while (ReadFrame(dropped, sizeof(dropped)) != 0) {
  }
  closed = true;
}

void ChunkedIBinarySubChannel::CheckOpened(const char* file, unsigned int line) const {
  if (closed) {
    throw IOException("Chunked binary input sub-channel is closed.", file, line);
  }
}

// Makes sure that `left` bytes of a frame can be read; false at the end of the data.
bool ChunkedIBinarySubChannel::EnterFrame() const {
  if (ended) return false;
  if (left == 0) {
    unsigned int length = 0;
    lost = true;
    protocol.Read(channel, length);
    lost = false;
    left = length;
    ended = length == 0;
  }
  return !ended;
}

unsigned int ChunkedIBinarySubChannel::ReadFrame(char* buffer, unsigned int size) {
  if (size == 0 || !EnterFrame()) return 0;
  lost = true;
  const unsigned int count = channel.Read(buffer, std::min(size, left), ReadSome);
  lost = false;
  if (count == 0) throw EndOfInputException("End of input reached.", __FILE__, __LINE__);
  left -= count;
  passed += count;
  return count;
}

bool ChunkedIBinarySubChannel::SkipRest() {
  if (lost) return false;
  try {
    while (EnterFrame()) {
      if (!SkipFrame()) return false;
    }
  } catch (const EndOfInputException&) {
    return false;
  }
  return true;
}

// Passes over the rest of the frame, or a piece of it; false at the end of the input.
bool ChunkedIBinarySubChannel::SkipFrame() {
  char dropped[4096];
  SkippableInput* const skippable = SkippableInput::Find(channel);
  if (skippable == nullptr) return ReadFrame(dropped, sizeof(dropped)) != 0;
  lost = true;
  const auto count = static_cast<unsigned int>(skippable->Skip(left));
  lost = false;
  left -= count;
  passed += count;
  return left == 0;
}

}  // namespace Vx
