#pragma once

#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "foundation/IO/Location.h"

namespace Larkspan::Common::IO {

/// The data of one entry of an archive file, over a file and a reader of its own.
class ArchiveFileEntryIBinaryChannel final : public Vx::IBinaryChannel {
 public:
  /// Opens the file and walks to the first entry that equals `entry`, verifying all before it.
  /// Throws `ArchiveException` if there is none.
  ArchiveFileEntryIBinaryChannel(const ::IO::Location& location,
                                 const Vx::Ref<ArchiveEntry, Vx::Counter>& entry);
  ~ArchiveFileEntryIBinaryChannel() override;

  using IBinaryChannel::Read;
  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size,
                                  ReadSomeModeSelector mode) override;
  [[nodiscard]] unsigned __int64 GetAvailable() const override;
  void Close() override;

 private:
  void CheckOpened(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) const;

  // Empty once the channel is closed.
  Vx::Ref<ArchiveIBinaryChannel, Vx::AtomicCounter> reader;
};

}  // namespace Larkspan::Common::IO
