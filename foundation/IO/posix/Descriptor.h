#pragma once

#include <cerrno>
#include <cstddef>

#include "foundation/IO/SeekOrigin.h"
#include "foundation/Vx/String.h"
#include "foundation/Vx/Types.h"

/// Open files as the system knows them. Every function returns a value of `errno`, 0 for success,
/// and carries interrupted and partial calls on.
namespace IO::Posix {

enum class Access {
  Read,
  Write,         // the file must exist
  ReadAndWrite,  // the same
  WriteCreated,  // created if missing
  WriteEmptied,  // created if missing, emptied otherwise
  WriteNew,      // created; EEXIST if anything has the name
  WriteNewPrivate,
};

/// The folder that relative paths count from where no other is given.
[[nodiscard]] int GetCurrentFolder() noexcept;

/// Makes a system call, again where a signal interrupted it. Gives what it gives, with `errno`.
template <class Call>
[[nodiscard]] int Restart(Call call) noexcept {
  int result = -1;
  do {
    result = call();
  } while (result < 0 && errno == EINTR);
  return result;
}

/// Opens a file; the descriptor is not inherited by other programs, and is none of 0 to 2, which
/// belong to the standard streams even if those are closed.
[[nodiscard]] int OpenFile(const Vx::String& path, Access access, int* descriptor) noexcept;
/// The same for a name in a folder that is held open: a symbolic link of that name is not followed
/// (ELOOP), and opening a pipe waits for nobody.
[[nodiscard]] int OpenFileIn(int folder, const Vx::String& name, Access access,
                             int* descriptor) noexcept;
[[nodiscard]] int OpenFolder(const Vx::String& path, int* descriptor) noexcept;
/// A folder in a folder; a symbolic link is not followed (ELOOP or ENOTDIR). One that may be
/// changed but not listed is opened for its names alone, and can't be synced then.
[[nodiscard]] int OpenFolderIn(int folder, const Vx::String& name, int* descriptor) noexcept;
/// Moves a new descriptor out of the way of the standard streams; closes it if that fails.
[[nodiscard]] int KeepFromStreams(int opened, int* descriptor) noexcept;
/// A second descriptor of the same open file, with one position and one lock for both.
[[nodiscard]] int Duplicate(int descriptor, int* copy) noexcept;
[[nodiscard]] int Close(int descriptor) noexcept;

/// One read; `delivered` 0 is the end of the input.
[[nodiscard]] int Read(int descriptor, char* buffer, std::size_t size,
                       std::size_t* delivered) noexcept;
/// The same at an offset, which leaves the position alone.
[[nodiscard]] int ReadAt(int descriptor, unsigned __int64 offset, char* buffer, std::size_t size,
                         std::size_t* delivered) noexcept;
/// Writes everything; on failure `written` says how much of it was taken.
[[nodiscard]] int Write(int descriptor, const char* data, std::size_t size,
                        std::size_t* written) noexcept;
/// `position`, counted from the start of the file, may be null.
[[nodiscard]] int Seek(int descriptor, SeekOrigin origin, __int64 offset,
                       __int64* position) noexcept;

/// Truncates the file, or lengthens it by zeros.
[[nodiscard]] int SetSize(int descriptor, unsigned __int64 size) noexcept;

/// Takes the exclusive lock on the open file's inode, without waiting: EWOULDBLOCK if another open
/// file holds it. Closing the last descriptor of this one releases it.
[[nodiscard]] int TryLock(int descriptor) noexcept;

/// Syncs the data, or also the metadata, of the file or folder. 0 for what can't be synced. Never
/// to be repeated after a failure: the system counts what it could not write as written.
[[nodiscard]] int SyncData(int descriptor) noexcept;
[[nodiscard]] int SyncAll(int descriptor) noexcept;

[[nodiscard]] bool IsTerminal(int descriptor) noexcept;

/// Owner of a descriptor for the length of a block.
class Descriptor final {
 public:
  explicit Descriptor(int opened = -1) noexcept : value(opened) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor();

  int value;
};

}  // namespace IO::Posix
