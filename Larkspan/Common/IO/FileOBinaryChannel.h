#pragma once

#include <optional>

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/FileShare.h"
#include "foundation/IO/File.h"
#include "foundation/IO/OpenMode.h"
#include "foundation/Vx/OBinaryChannel.h"

namespace Larkspan::Common::IO {

/// Writes a file. One `Write` is one write of the file object, which reaches the system before it
/// returns; `Flush` therefore has nothing to do, and does not sync. A write of no bytes,
/// or from a null buffer, throws `Vx::IllegalArgumentException`. The destructor closes the file; a
/// failure of that goes unseen.
class LARKSPAN_API FileOBinaryChannel final : public Vx::OBinaryChannel {
 public:
  /// Opens the file, and creates it if it is missing. With `append` the bytes go behind the
  /// content, else the file is emptied. Only `FileShare::NoShare` is supported.
  /// Throws `Vx::IllegalArgumentException` for a location that is not valid or empty and for the
  /// share, and `Vx::IOException` for a file that can't be opened.
  FileOBinaryChannel(const ::IO::Location& location, bool append, const FileShare& share);
  /// Opens the file in a mode for writing, and writes from its first byte on; a missing file is
  /// made. Throws `Vx::IllegalArgumentException` for a location that is not valid or empty, and
  /// `Vx::IOException` for a file that can't be opened.
  FileOBinaryChannel(const ::IO::Location& location, ::IO::OpenMode mode);
  /// Takes over a file that is open for writing, and writes from its position on. Throws
  /// `Vx::IOException` for one that is not open.
  explicit FileOBinaryChannel(::IO::File&& openFile);
  /// The same with a file that stays the caller's, and open, whatever becomes of the channel.
  explicit FileOBinaryChannel(::IO::File& openFile);
  ~FileOBinaryChannel() override;

  using OBinaryChannel::Write;
  void Write(const char* data, unsigned int size) override;
  void Flush() override;
  /// If it fails, the channel does not count as closed and `Close` can be called again; the file
  /// itself is closed.
  void Close() override;

 private:
  void Open(::IO::OpenMode mode);
  void CheckOpened(const char* fileName = __builtin_FILE(),
                   unsigned int lineNumber = __builtin_LINE()) const;

  std::optional<::IO::File> own;
  ::IO::File& file;
  bool opened = true;
};

}  // namespace Larkspan::Common::IO
