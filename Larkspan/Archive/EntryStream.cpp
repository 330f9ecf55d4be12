#include "Larkspan/Archive/EntryStream.h"

#include <algorithm>

#include "Larkspan/Common/IO/ArchiveException.h"
#include "foundation/Vx/IOException.h"

namespace Larkspan::Archive {
namespace {

constexpr unsigned __int64 MaxWindowSize = 0x10000;

// An entry whose end isn't known has the largest window.
unsigned int WindowSizeOf(const EntryPlace& place) noexcept {
  if (place.end <= place.header) return MaxWindowSize;
  return static_cast<unsigned int>(std::min(place.end - place.header, MaxWindowSize));
}

}  // namespace

EntryStream::EntryStream(const RandomInput& input, const EntryPlace& place, std::string_view text)
    : window(input, place.header, WindowSizeOf(place)),
      archive(window, Common::IO::ArchiveIBinaryChannel::AtEntry),
      left(place.size) {
  const std::string_view head = window.Peek().substr(0, text.size());
  if (head != text.substr(0, head.size()) || !archive.GetNextEntry()) {
    throw Common::IO::ArchiveException(
        "Failed to use archive index: it is not the index of this archive.", __FILE__, __LINE__);
  }
}

EntryStream::~EntryStream() = default;

unsigned int EntryStream::Read(char* buffer, unsigned int size, ReadSomeModeSelector mode) {
  CheckOpened();
  if (ended || size == 0) return 0;
  const unsigned int count = archive.Read(buffer, size, mode);
  left -= count;
  if (count == 0 || left == 0) {
    archive.CloseEntry();
    ended = true;
  }
  return count;
}

unsigned __int64 EntryStream::GetAvailable() const {
  CheckOpened();
  return ended ? 0 : archive.GetAvailable();
}

void EntryStream::CheckOpened(const char* file, unsigned int line) const {
  if (closed) throw Vx::IOException("Archive entry channel is closed.", file, line);
}

}  // namespace Larkspan::Archive
