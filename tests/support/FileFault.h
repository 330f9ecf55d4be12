#pragma once

#include <cstddef>

namespace Tests {

/// The system calls that can be made to fail, as bits. The test program defines the C functions
/// itself, in front of the C library's; without a fault in force they do what they always do.
/// Reads, writes and closes of the standard streams are left alone.
enum SystemCall : unsigned int {
  CallRead = 1U << 0U,
  CallWrite = 1U << 1U,
  CallClose = 1U << 2U,  // the descriptor is closed all the same
  CallSync = 1U << 3U,   // fsync
  CallSyncData = 1U << 4U,
  CallRename2 = 1U << 5U,  // renameat2: names swapped, or moved without replacing
  CallRename = 1U << 6U,
  CallLink = 1U << 7U,
  CallRemove = 1U << 8U,
  CallAny = (1U << 9U) - 1,
};

/// While it lives, calls of the kinds `calls` fail with `error`: after `skip` that pass, `times`.
/// An `error` of `Kill` ends the process instead, as SIGKILL does, before the call is made.
class FileFault final {
 public:
  static constexpr unsigned int Always = 0xFFFFFFFFU;
  static constexpr int Kill = -1;

  FileFault(unsigned int calls, int error, unsigned int skip = 0, unsigned int times = Always);
  FileFault(const FileFault&) = delete;
  FileFault& operator=(const FileFault&) = delete;
  ~FileFault();

  /// Whether a call has failed.
  [[nodiscard]] bool HasStruck() const noexcept { return struck; }

  /// For the C functions: the error that the call `call` has to fail with, or 0.
  [[nodiscard]] static int Check(SystemCall call) noexcept;

 private:
  bool Strike(SystemCall call) noexcept;

  unsigned int kinds;
  int failure;
  unsigned int passes;
  unsigned int strikes;
  bool struck = false;
  FileFault* next;
};

/// While it lives, a read or write moves at most `bytes` bytes in one call.
class PieceLimit final {
 public:
  explicit PieceLimit(std::size_t bytes);
  PieceLimit(const PieceLimit&) = delete;
  PieceLimit& operator=(const PieceLimit&) = delete;
  ~PieceLimit();
};

/// While it lives, the disk has room for `bytes` more bytes: the write that meets its end is cut
/// short, and those behind it fail with ENOSPC.
class DiskSpace final {
 public:
  explicit DiskSpace(std::size_t bytes);
  DiskSpace(const DiskSpace&) = delete;
  DiskSpace& operator=(const DiskSpace&) = delete;
  ~DiskSpace();
};

}  // namespace Tests
