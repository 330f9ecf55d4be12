#pragma once

#include <optional>

#include "foundation/IO/File.h"
#include "foundation/IO/Location.h"

namespace Larkspan::Common::IO {

/// The file of an archive, open for a change, and locked: whoever changes an archive holds the lock
/// on its inode meanwhile. A resource.
class ArchiveLock final {
 public:
  /// How long to wait for others.
  static constexpr unsigned int WaitMilliseconds = 10000;

  /// The file under the name `location`, as it is with the lock on it. Throws `ArchiveException` if
  /// it can't be opened, or others are at work all that time.
  explicit ArchiveLock(const ::IO::Location& archiveLocation);
  ArchiveLock(const ArchiveLock&) = delete;
  ArchiveLock& operator=(const ArchiveLock&) = delete;

  /// Open for reading, and for writing where `CheckWritable` says so.
  [[nodiscard]] ::IO::File& GetFile() noexcept { return *file; }
  /// Throws `ArchiveException` if the system refuses to write to the file, as it is for a change in
  /// place only.
  void CheckWritable() const;

  /// Changes over to a file that has taken the name, and is locked.
  void TakeOver(::IO::File&& successor) noexcept;

 private:
  [[nodiscard]] int Open() noexcept;

  const ::IO::Location location;
  std::optional<::IO::File> file;
  bool isWritable = true;
};

}  // namespace Larkspan::Common::IO
