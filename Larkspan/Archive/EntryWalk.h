#pragma once

#include "Larkspan/Archive/EntryPlace.h"
#include "Larkspan/Archive/InputWindow.h"
#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"

namespace Larkspan::Archive {

/// Goes through an archive once, from entry to entry, and hops over their data.
class EntryWalk final {
 public:
  using EntryRef = Common::IO::ArchiveIBinaryChannel::EntryRef;

  explicit EntryWalk(const RandomInput& input);

  /// The headers of the archive, and how it ends once there are no more entries.
  [[nodiscard]] const Common::IO::ArchiveIBinaryChannel& GetArchive() const noexcept {
    return channel;
  }

  /// Goes to the next entry, and appends the bytes of its header to `text` if that isn't null.
  /// False if there are no more. Throws what `GetNextEntry` throws.
  [[nodiscard]] bool Next(InputWindow::Bytes* text);
  /// The entry, with the claims of its footer after `FindEnd`.
  [[nodiscard]] const EntryRef& GetEntry() const noexcept { return entry; }
  /// Its place; sizes and end are known after `FindEnd`.
  [[nodiscard]] const EntryPlace& GetPlace() const noexcept { return place; }
  /// Hops over the entry's data. Throws what `LeaveEntry` throws.
  void FindEnd();

 private:
  InputWindow window;
  Common::IO::ArchiveIBinaryChannel channel;
  EntryRef entry;
  EntryPlace place;
};

}  // namespace Larkspan::Archive
