#include "tests/support/FileFault.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Tests {
namespace {

constexpr std::size_t NoLimit = static_cast<std::size_t>(-1);

FileFault* firstFault = nullptr;
std::size_t pieceLimit = NoLimit;
std::size_t diskSpace = NoLimit;

}  // namespace

FileFault::FileFault(unsigned int calls, int error, unsigned int skip, unsigned int times)
    : kinds(calls), failure(error), passes(skip), strikes(times), next(firstFault) {
  firstFault = this;
}

FileFault::~FileFault() {
  FileFault** place = &firstFault;
  while (*place != this) place = &(*place)->next;
  *place = next;
}

bool FileFault::Strike(SystemCall call) noexcept {
  if ((kinds & call) == 0 || strikes == 0) return false;
  if (passes > 0) {
    --passes;
    return false;
  }
  if (strikes != Always) --strikes;
  struck = true;
  return true;
}

int FileFault::Check(SystemCall call) noexcept {
  for (FileFault* fault = firstFault; fault != nullptr; fault = fault->next) {
    if (!fault->Strike(call)) continue;
    if (fault->failure == Kill) ::kill(::getpid(), SIGKILL);
    return fault->failure;
  }
  return 0;
}

PieceLimit::PieceLimit(std::size_t bytes) {
  pieceLimit = bytes;
}

PieceLimit::~PieceLimit() {
  pieceLimit = NoLimit;
}

DiskSpace::DiskSpace(std::size_t bytes) {
  diskSpace = bytes;
}

DiskSpace::~DiskSpace() {
  diskSpace = NoLimit;
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

bool IsStandard(int descriptor) noexcept {
  return descriptor >= 0 && descriptor <= 2;
}

}  // namespace
}  // namespace Tests

using namespace Tests;

extern "C" {

ssize_t read(int descriptor, void* buffer, size_t size) {
  if (IsStandard(descriptor)) return ::syscall(SYS_read, descriptor, buffer, size);
  return Call(CallRead, SYS_read, descriptor, buffer, std::min(size, pieceLimit));
}

ssize_t write(int descriptor, const void* data, size_t size) {
  if (IsStandard(descriptor)) return ::syscall(SYS_write, descriptor, data, size);
  if (size > 0 && diskSpace == 0) {
    errno = ENOSPC;
    return -1;
  }
  const size_t piece = std::min({size, pieceLimit, diskSpace});
  const ssize_t written = Call(CallWrite, SYS_write, descriptor, data, piece);
  if (written > 0 && diskSpace != NoLimit) diskSpace -= static_cast<size_t>(written);
  return written;
}

int close(int descriptor) {
  const int error = IsStandard(descriptor) ? 0 : FileFault::Check(CallClose);
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
  return static_cast<int>(Call(CallRemove, SYS_unlinkat, AT_FDCWD, path, 0));
}

int rmdir(const char* path) noexcept {
  return static_cast<int>(Call(CallRemove, SYS_unlinkat, AT_FDCWD, path, AT_REMOVEDIR));
}

}  // extern "C"
