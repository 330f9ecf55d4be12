#pragma once

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
};

/// Opens a file; the descriptor is not inherited by other programs, and is none of 0 to 2, which
/// belong to the standard streams even if those are closed.
[[nodiscard]] int OpenFile(const Vx::String& path, Access access, int* descriptor) noexcept;
[[nodiscard]] int OpenFolder(const Vx::String& path, int* descriptor) noexcept;
[[nodiscard]] int Close(int descriptor) noexcept;

/// One read; `delivered` 0 is the end of the input.
[[nodiscard]] int Read(int descriptor, char* buffer, std::size_t size,
                       std::size_t* delivered) noexcept;
/// Writes everything; on failure `written` says how much of it was taken.
[[nodiscard]] int Write(int descriptor, const char* data, std::size_t size,
                        std::size_t* written) noexcept;
/// `position`, counted from the start of the file, may be null.
[[nodiscard]] int Seek(int descriptor, SeekOrigin origin, __int64 offset,
                       __int64* position) noexcept;

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
