#pragma once

#include "Larkspan/Archive/EntryPlace.h"
#include "Larkspan/Archive/InputWindow.h"
#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"

namespace Larkspan::Archive {

/// The data of one entry of a store, verified by the read that meets its end.
class EntryStream final : public Vx::IBinaryChannel {
 public:
  /// `text`, if not empty, is what the entry's header has to be. Throws
  /// `Common::IO::ArchiveException` if it isn't, or if no entry is there.
  EntryStream(const RandomInput& input, const EntryPlace& place, std::string_view text);
  ~EntryStream() override;

  using IBinaryChannel::Read;
  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size,
                                  ReadSomeModeSelector mode) override;
  [[nodiscard]] unsigned __int64 GetAvailable() const override;
  /// Ends the reading, wherever it is, and verifies nothing.
  void Close() override { closed = true; }

 private:
  void CheckOpened(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) const;

  InputWindow window;
  Common::IO::ArchiveIBinaryChannel archive;
  unsigned __int64 left;
  bool ended = false;
  bool closed = false;
};

}  // namespace Larkspan::Archive
