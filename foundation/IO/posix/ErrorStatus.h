#pragma once

/// What a value of `errno` is as a status. 0 stays 0 in all of them.
namespace IO::Posix {

/// Of an operation of a file object: a missing file is `StatusFileNotFound`.
[[nodiscard]] int FileStatus(int error) noexcept;

/// Of an operation of the file system or a folder: a missing item is `StatusNotFound`.
[[nodiscard]] int FileSystemStatus(int error) noexcept;

/// Of a failed read: `StatusReadError`.
[[nodiscard]] int ReadStatus(int error) noexcept;

/// Of a failed write: output full, pipe closed, or `StatusWriteError`.
[[nodiscard]] int WriteStatus(int error) noexcept;

/// Whether `error` says that nothing is at a place: the item or a folder above it is missing.
[[nodiscard]] bool IsMissing(int error) noexcept;

}  // namespace IO::Posix
