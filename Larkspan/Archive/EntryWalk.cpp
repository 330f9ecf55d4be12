#include "Larkspan/Archive/EntryWalk.h"

namespace Larkspan::Archive {
namespace {

constexpr unsigned int WindowSize = 0x10000;

}  // namespace

EntryWalk::EntryWalk(const RandomInput& input) : window(input, 0, WindowSize), channel(window) {}

bool EntryWalk::Next(InputWindow::Bytes* text) {
  // The header has to be behind us when the entry's place is taken.
  static_cast<void>(channel.GetReservedHeaderSize());
  place = {};
  place.header = window.GetPosition();
  const std::size_t known = text == nullptr ? 0 : text->size();
  window.Record(text);
  entry = channel.GetNextEntry();
  window.Record(nullptr);
  if (!entry) {
    if (text != nullptr) text->resize(known);
    return false;
  }
  place.data = window.GetPosition();
  place.method = entry->GetMethod();
  return true;
}

void EntryWalk::FindEnd() {
  channel.LeaveEntry();
  place.end = window.GetPosition();
  place.archivedSize = entry->GetArchivedSize();
  place.size = entry->GetSize();
  place.crc = entry->GetCRC();
}

}  // namespace Larkspan::Archive
