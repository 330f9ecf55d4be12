#pragma once

#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "Larkspan/Common/IO/FileShare.h"
#include "foundation/IO/File.h"
#include "foundation/IO/Location.h"

namespace Larkspan::Common::IO {

/// Throws `ArchiveException` if an archive's file has not been read to its end. A stream takes
/// every failure to read a name for its end; of a file more is known.
void CheckReadToEnd(const Vx::IBinaryChannel& file);

/// An archive file opened for one pass over its stream.
class ArchiveFileReader final {
 public:
  /// Throws as `FileIBinaryChannel` does.
  ArchiveFileReader(const ::IO::Location& location, const FileShare& share);
  /// Reads a file that is held open, from its first byte on, and leaves it open.
  explicit ArchiveFileReader(::IO::File& openFile);

  [[nodiscard]] ArchiveIBinaryChannel& GetChannel() noexcept { return channel; }

  /// The channel's next entry, empty at the end of the archive, which is checked to be the end of
  /// the file.
  [[nodiscard]] ArchiveIBinaryChannel::EntryRef GetNextEntry();

  /// Closes the file.
  void Close() { channel.Close(); }

 private:
  Vx::IBinaryChannelRef file;
  ArchiveIBinaryChannel channel;
};

}  // namespace Larkspan::Common::IO
