#include "tests/support/FileFault.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

using namespace Tests;

int FileFault::Check(SystemCall call) noexcept {
  for (FileFault* fault = newest; fault != nullptr; fault = fault->older) {
    if ((fault->kinds & call) == 0) continue;
    const unsigned int number = fault->met++;
    if (number < fault->passing || number - fault->passing >= fault->striking) continue;
    if (fault->failure == Kill) ::kill(::getpid(), SIGKILL);
    return fault->failure;
  }
  return 0;
}

namespace {

// Makes the call, unless it has to fail.
template <class... Arguments>
long Call(SystemCall kind, long number, Arguments... arguments) noexcept {
  const int error = FileFault::Check(kind);
  if (error == 0) return ::syscall(number, arguments...);
  errno = error;
  return -1;
}

}  // namespace

extern "C" {

ssize_t read(int descriptor, void* buffer, size_t size) {
  if (descriptor <= STDERR_FILENO) return ::syscall(SYS_read, descriptor, buffer, size);
  return Call(CallRead, SYS_read, descriptor, buffer, std::min(size, PieceLimit::left));
}

ssize_t write(int descriptor, const void* data, size_t size) {
  if (descriptor <= STDERR_FILENO) return ::syscall(SYS_write, descriptor, data, size);
  const size_t piece = std::min({size, PieceLimit::left, DiskSpace::left});
  errno = ENOSPC;  // which stays only if there is no call
  if (size > 0 && piece == 0) return -1;
  const ssize_t written = Call(CallWrite, SYS_write, descriptor, data, piece);
  if (written > 0) DiskSpace::left -= static_cast<size_t>(written);
  return written;
}

int close(int descriptor) {
  const int error = descriptor <= STDERR_FILENO ? 0 : FileFault::Check(CallClose);
  const long result = ::syscall(SYS_close, descriptor);
  if (error == 0) return static_cast<int>(result);
  errno = error;
  return -1;
}

int fsync(int descriptor) {
  return static_cast<int>(Call(CallSync, SYS_fsync, descriptor));
}

int fdatasync(int descriptor) {
  return static_cast<int>(Call(CallSyncData, SYS_fdatasync, descriptor));
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
              unsigned int flags) noexcept {
  return static_cast<int>(Call(CallRename2, SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
  return static_cast<int>(Call(CallRename, SYS_renameat2, fromFolder, from, toFolder, to, 0U));
}

int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept {
  return static_cast<int>(Call(CallLink, SYS_linkat, fromFolder, from, toFolder, to, flags));
}

int unlinkat(int folder, const char* name, int flags) noexcept {
  return static_cast<int>(Call(CallRemove, SYS_unlinkat, folder, name, flags));
}

int unlink(const char* path) noexcept {
  return ::unlinkat(AT_FDCWD, path, 0);
}

int rmdir(const char* path) noexcept {
  return ::unlinkat(AT_FDCWD, path, AT_REMOVEDIR);
}

}  // extern "C"
