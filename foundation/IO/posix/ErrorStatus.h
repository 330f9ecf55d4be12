#pragma once

#include "foundation/Vx/String.h"

/// What a value of `errno` is as a status. 0 stays 0 in all of them.
namespace IO::Posix {

/// Of an operation of a file object: a missing file is `StatusFileNotFound`.
[[nodiscard]] int FileStatus(int error) noexcept;

/// Of looking a file up: a path that leads through a file leads to nothing, too.
[[nodiscard]] int LookupStatus(int error) noexcept;

/// Of an operation of the file system or a folder: a missing item is `StatusNotFound`.
[[nodiscard]] int FileSystemStatus(int error) noexcept;

/// Of a failed read: `StatusReadError`.
[[nodiscard]] int ReadStatus(int error) noexcept;

/// Of a failed write: output full, pipe closed, or `StatusWriteError`.
[[nodiscard]] int WriteStatus(int error) noexcept;

/// Whether `error` says that nothing is at a path: the item or a folder above it is missing.
[[nodiscard]] bool IsMissing(int error) noexcept;

/// The last value of `errno` that one of the functions above turned into `status` on this thread,
/// if that is the last status that they gave; else 0.
[[nodiscard]] int GetLastError(int status) noexcept;

/// What the system says of `error`. Throws `Vx::OutOfMemoryException`.
[[nodiscard]] Vx::String DescribeError(int error);

}  // namespace IO::Posix
