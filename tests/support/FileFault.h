#pragma once

#include <cstddef>
#include <functional>
#include <utility>

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
  CallOpen = 1U << 9U,
  CallMake = 1U << 10U,         // a folder
  CallOpenUnnamed = 1U << 11U,  // a file without a name
  CallOpenBeneath = 1U << 12U,  // openat2
  CallLock = 1U << 13U,
  CallAttributes = 1U << 14U,  // looked at, or changed
  CallSize = 1U << 15U,        // ftruncate
  CallEach = ~0U,
};

/// While it lives, calls of the kinds `calls` fail with `error`: after `skip` that pass, `times`.
/// An `error` of `Kill` ends the process instead, as SIGKILL does, before the call is made. Of
/// several the newest comes first; they end in the reverse order.
class FileFault final {
 public:
  static constexpr unsigned int Always = 0xFFFFFFFFU;
  static constexpr int Kill = -1;

  FileFault(unsigned int calls, int error, unsigned int skip = 0, unsigned int times = Always)
      : kinds(calls), failure(error), passing(skip), striking(times), older(newest) {
    newest = this;
  }
  FileFault(const FileFault&) = delete;
  FileFault& operator=(const FileFault&) = delete;
  ~FileFault() { newest = older; }

  /// Whether a call has failed.
  [[nodiscard]] bool HasStruck() const noexcept { return striking > 0 && met > passing; }

  /// For the C functions: the error that the call `call` has to fail with, or 0.
  [[nodiscard]] static int Check(SystemCall call) noexcept;

 private:
  static inline FileFault* newest = nullptr;

  unsigned int kinds;
  int failure;
  unsigned int passing;
  unsigned int striking;
  unsigned int met = 0;
  FileFault* older;
};

/// While it lives, `action` runs before system call number `skip` of any kind, as if another
/// process had come in between; the calls of the action itself are not counted. One at a time.
class CallHook final {
 public:
  CallHook(unsigned int skip, std::function<void()> work) : left(skip), action(std::move(work)) {
    current = this;
  }
  CallHook(const CallHook&) = delete;
  CallHook& operator=(const CallHook&) = delete;
  ~CallHook() { current = nullptr; }

  [[nodiscard]] bool HasStruck() const noexcept { return struck; }

  /// For the C functions: a call is about to be made.
  static void Meet() {
    if (current == nullptr || current->left-- > 0) return;
    CallHook* const hook = std::exchange(current, nullptr);
    hook->struck = true;
    hook->action();
  }

 private:
  static inline CallHook* current = nullptr;

  unsigned int left;
  std::function<void()> action;
  bool struck = false;
};

/// While it lives, a number of bytes bounds what calls move. One of a kind at a time.
template <int Kind>
class ByteLimit final {
 public:
  explicit ByteLimit(std::size_t bytes) { left = bytes; }
  ByteLimit(const ByteLimit&) = delete;
  ByteLimit& operator=(const ByteLimit&) = delete;
  ~ByteLimit() { left = None; }

  static constexpr std::size_t None = static_cast<std::size_t>(-1);
  static inline std::size_t left = None;
};

/// A read or write moves at most so many bytes in one call.
using PieceLimit = ByteLimit<0>;
/// The disk has room for so many more bytes: the write that meets its end is cut short, and those
/// behind it fail with ENOSPC.
using DiskSpace = ByteLimit<1>;

/// While it lives, calls of the kinds `calls` succeed without being made, unless a fault makes them
/// fail: syncs that cost no time, and locks that keep nobody out.
class PretendedCalls final {
 public:
  explicit PretendedCalls(unsigned int calls) : before(kinds) { kinds |= calls; }
  PretendedCalls(const PretendedCalls&) = delete;
  PretendedCalls& operator=(const PretendedCalls&) = delete;
  ~PretendedCalls() { kinds = before; }

  static inline unsigned int kinds = 0;

 private:
  unsigned int before;
};

}  // namespace Tests
