#include "tests/support/FileFault.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/support/PowerCut.h"

using namespace Tests;

int FileFault::Check(SystemCall call) noexcept {
  CallHook::Meet();
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

// The C library's own `syscall`, not the one below.
template <class... Arguments>
long CallSystem(Arguments... arguments) noexcept {
  using Function = long (*)(long, ...);
  static constinit std::atomic<Function> found = nullptr;
  Function function = found;
  if (function == nullptr) {
    found = function = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "syscall"));
  }
  return function(arguments...);
}

// Makes the call, unless it has to fail.
template <class... Arguments>
long Call(SystemCall kind, long number, Arguments... arguments) noexcept {
  const int error = FileFault::Check(kind);
  if (error == 0 && (PretendedCalls::kinds & kind) != 0) return 0;
  if (error == 0) return CallSystem(number, arguments...);
  errno = error;
  return -1;
}

// Of a call that may have changed the names of a folder.
int NoteNames(long result) noexcept {
  if (result >= 0) PowerCut::NoteNames();
  return static_cast<int>(result);
}

int NoteSync(long result, int descriptor) noexcept {
  if (result == 0) PowerCut::NoteSync(descriptor);
  return static_cast<int>(result);
}

int Open(int folder, const char* path, int flags, mode_t mode) noexcept {
  const bool unnamed = (flags & O_TMPFILE) == O_TMPFILE;
  const SystemCall kind = unnamed ? CallOpenUnnamed : CallOpen;
  const long descriptor = Call(kind, SYS_openat, folder, path, flags, mode);
  if (descriptor >= 0 && (flags & O_CREAT) != 0) PowerCut::NoteNames();
  if (descriptor >= 0 && (flags & O_TRUNC) != 0) {
    PowerCut::NoteTruncation(static_cast<int>(descriptor));
  }
  return static_cast<int>(descriptor);
}

mode_t TakeMode(int flags, va_list arguments) noexcept {
  const bool makes = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
  return makes ? static_cast<mode_t>(va_arg(arguments, unsigned int)) : 0;
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = TakeMode(flags, arguments);
  va_end(arguments);
  return Open(AT_FDCWD, path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = TakeMode(flags, arguments);
  va_end(arguments);
  return Open(folder, path, flags, mode);
}

// The same with 64-bit offsets, under the names that units see which ask for them.
int open64(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = TakeMode(flags, arguments);
  va_end(arguments);
  return Open(AT_FDCWD, path, flags, mode);
}

int openat64(int folder, const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = TakeMode(flags, arguments);
  va_end(arguments);
  return Open(folder, path, flags, mode);
}

int mkdirat(int folder, const char* path, mode_t mode) noexcept {
  return NoteNames(Call(CallMake, SYS_mkdirat, folder, path, mode));
}

ssize_t read(int descriptor, void* buffer, size_t size) {
  if (descriptor <= STDERR_FILENO) return CallSystem(SYS_read, descriptor, buffer, size);
  return Call(CallRead, SYS_read, descriptor, buffer, std::min(size, PieceLimit::left));
}

ssize_t pread(int descriptor, void* buffer, size_t size, off_t offset) {
  return Call(CallRead, SYS_pread64, descriptor, buffer, std::min(size, PieceLimit::left), offset);
}

ssize_t write(int descriptor, const void* data, size_t size) {
  if (descriptor <= STDERR_FILENO) return CallSystem(SYS_write, descriptor, data, size);
  const size_t piece = std::min({size, PieceLimit::left, DiskSpace::left});
  errno = ENOSPC;  // which stays only if there is no call
  if (size > 0 && piece == 0) return -1;
  const ssize_t written = Call(CallWrite, SYS_write, descriptor, data, piece);
  if (written <= 0) return written;
  DiskSpace::left -= static_cast<size_t>(written);
  const off_t end = ::lseek(descriptor, 0, SEEK_CUR);
  PowerCut::NoteWrite(descriptor, data, static_cast<size_t>(written), end - written);
  return written;
}

int close(int descriptor) {
  const int error = descriptor <= STDERR_FILENO ? 0 : FileFault::Check(CallClose);
  const long result = CallSystem(SYS_close, descriptor);
  if (error == 0) return static_cast<int>(result);
  errno = error;
  return -1;
}

int fsync(int descriptor) {
  return NoteSync(Call(CallSync, SYS_fsync, descriptor), descriptor);
}

int fdatasync(int descriptor) {
  return NoteSync(Call(CallSyncData, SYS_fdatasync, descriptor), descriptor);
}

int flock(int descriptor, int operation) noexcept {
  return static_cast<int>(Call(CallLock, SYS_flock, descriptor, operation));
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
              unsigned int flags) noexcept {
  return NoteNames(Call(CallRename2, SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
  return NoteNames(Call(CallRename, SYS_renameat2, fromFolder, from, toFolder, to, 0U));
}

int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept {
  return NoteNames(Call(CallLink, SYS_linkat, fromFolder, from, toFolder, to, flags));
}

int unlinkat(int folder, const char* name, int flags) noexcept {
  return NoteNames(Call(CallRemove, SYS_unlinkat, folder, name, flags));
}

int unlink(const char* path) noexcept {
  return ::unlinkat(AT_FDCWD, path, 0);
}

int rmdir(const char* path) noexcept {
  return ::unlinkat(AT_FDCWD, path, AT_REMOVEDIR);
}

int ftruncate(int descriptor, off_t size) noexcept {
  return static_cast<int>(Call(CallSize, SYS_ftruncate, descriptor, size));
}

int fstat(int descriptor, struct stat* facts) noexcept {
  return static_cast<int>(Call(CallAttributes, SYS_fstat, descriptor, facts));
}

int fstatat(int folder, const char* path, struct stat* facts, int flags) noexcept {
  return static_cast<int>(Call(CallAttributes, SYS_newfstatat, folder, path, facts, flags));
}

int fchmod(int descriptor, mode_t mode) noexcept {
  return static_cast<int>(Call(CallAttributes, SYS_fchmod, descriptor, mode));
}

int fchown(int descriptor, uid_t owner, gid_t group) noexcept {
  return static_cast<int>(Call(CallAttributes, SYS_fchown, descriptor, owner, group));
}

int futimens(int descriptor, const timespec* times) noexcept {
  return static_cast<int>(Call(CallAttributes, SYS_utimensat, descriptor, nullptr, times, 0));
}

long syscall(long number, ...) noexcept {
  va_list list;
  va_start(list, number);
  long words[6];
  for (long& word : words) word = va_arg(list, long);
  va_end(list);
  const auto make = [&](auto call) {
    return call(number, words[0], words[1], words[2], words[3], words[4], words[5]);
  };
  if (number != SYS_openat2) return make([](auto... all) { return CallSystem(all...); });
  return make([](auto... all) { return Call(CallOpenBeneath, all...); });
}

}  // extern "C"
