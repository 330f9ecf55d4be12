#include "foundation/IO/posix/Descriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "foundation/IO/posix/LongPath.h"

namespace IO::Posix {
namespace {

constexpr int FirstOwnDescriptor = 3;

int GetFlags(Access access) noexcept {
  switch (access) {
    case Access::Write:
      return O_WRONLY;
    case Access::ReadAndWrite:
      return O_RDWR;
    case Access::WriteCreated:
      return O_WRONLY | O_CREAT;
    case Access::WriteEmptied:
      return O_WRONLY | O_CREAT | O_TRUNC;
    case Access::WriteNew:
    case Access::WriteNewPrivate:
      return O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW;
    case Access::Read:
      break;
  }
  return O_RDONLY;
}

// Of a new file, less what the process masks out.
mode_t GetMode(Access access) noexcept {
  return access == Access::WriteNewPrivate ? 0600 : 0666;
}

int OpenPath(int folder, const char* path, int flags, mode_t mode, int* descriptor) noexcept {
  const int opened =
      Restart([&] { return ::openat(folder, path, flags | O_CLOEXEC | O_NOCTTY, mode); });
  if (opened < 0) return errno;
  return KeepFromStreams(opened, descriptor);
}

// For its names alone, where the system has such a thing.
#ifdef O_PATH
constexpr int NamesOnly = O_PATH;
#else
constexpr int NamesOnly = O_SEARCH;
#endif

int OpenFolderPath(int folder, const char* path, int flags, int* descriptor) noexcept {
  const int error = OpenPath(folder, path, O_RDONLY | O_DIRECTORY | flags, 0, descriptor);
  return error == EACCES ? OpenPath(folder, path, NamesOnly | O_DIRECTORY | flags, 0, descriptor)
                         : error;
}

// Of a folder that may be changed but not listed. Nobody can sync such a one.
bool IsForNamesOnly(int descriptor) noexcept {
  const int flags = ::fcntl(descriptor, F_GETFL);
  return flags >= 0 && (flags & NamesOnly) != 0;
}

int SyncWith(int (*sync)(int), int descriptor) noexcept {
  if (Restart([&] { return sync(descriptor); }) == 0) return 0;
  // EINVAL is the system's word for a pipe, a terminal, or a folder that has no sync of its own.
  const int error = errno;
  const bool hasNone = error == EINVAL || (error == EBADF && IsForNamesOnly(descriptor));
  return hasNone ? 0 : error;
}

}  // namespace

int GetCurrentFolder() noexcept {
  return AT_FDCWD;
}

int KeepFromStreams(int opened, int* descriptor) noexcept {
  if (opened < FirstOwnDescriptor) {
    const int moved = ::fcntl(opened, F_DUPFD_CLOEXEC, FirstOwnDescriptor);
    const int error = moved < 0 ? errno : 0;
    ::close(opened);
    if (error != 0) return error;
    opened = moved;
  }
  *descriptor = opened;
  return 0;
}

int OpenFile(const Vx::String& path, Access access, int* descriptor) noexcept {
  const LongPath place(path);
  if (place.GetError() != 0) return place.GetError();
  return OpenPath(place.GetFolder(), place.GetPath(), GetFlags(access), GetMode(access),
                  descriptor);
}

int OpenFileIn(int folder, const Vx::String& name, Access access, int* descriptor) noexcept {
  return OpenPath(folder, name.GetBuffer(), GetFlags(access) | O_NOFOLLOW | O_NONBLOCK,
                  GetMode(access), descriptor);
}

int OpenFolder(const Vx::String& path, int* descriptor) noexcept {
  const LongPath place(path);
  if (place.GetError() != 0) return place.GetError();
  return OpenFolderPath(place.GetFolder(), place.GetPath(), 0, descriptor);
}

int OpenFolderIn(int folder, const Vx::String& name, int* descriptor) noexcept {
  return OpenFolderPath(folder, name.GetBuffer(), O_NOFOLLOW, descriptor);
}

int Duplicate(int descriptor, int* copy) noexcept {
  const int made = ::fcntl(descriptor, F_DUPFD_CLOEXEC, FirstOwnDescriptor);
  if (made < 0) return errno;
  *copy = made;
  return 0;
}

int Close(int descriptor) noexcept {
  // The descriptor is gone after any failure, an interruption included: a second attempt could
  // close what another thread has just opened.
  if (::close(descriptor) == 0 || errno == EINTR) return 0;
  return errno;
}

int Read(int descriptor, char* buffer, std::size_t size, std::size_t* delivered) noexcept {
  *delivered = 0;
  ssize_t count = -1;
  do {
    count = ::read(descriptor, buffer, size);
  } while (count < 0 && errno == EINTR);
  if (count < 0) return errno;
  *delivered = static_cast<std::size_t>(count);
  return 0;
}

int ReadAt(int descriptor, unsigned __int64 offset, char* buffer, std::size_t size,
           std::size_t* delivered) noexcept {
  *delivered = 0;
  ssize_t count = -1;
  do {
    count = ::pread(descriptor, buffer, size, static_cast<off_t>(offset));
  } while (count < 0 && errno == EINTR);
  if (count < 0) return errno;
  *delivered = static_cast<std::size_t>(count);
  return 0;
}

int Write(int descriptor, const char* data, std::size_t size, std::size_t* written) noexcept {
  *written = 0;
  while (*written < size) {
    const ssize_t count = ::write(descriptor, data + *written, size - *written);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno;
    if (count == 0) return EIO;
    *written += static_cast<std::size_t>(count);
  }
  return 0;
}

int Seek(int descriptor, SeekOrigin origin, __int64 offset, __int64* position) noexcept {
  constexpr int origins[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  const off_t reached = ::lseek(descriptor, offset, origins[static_cast<int>(origin)]);
  if (reached < 0) return errno;
  if (position != nullptr) *position = reached;
  return 0;
}

int SetSize(int descriptor, unsigned __int64 size) noexcept {
  const int result = Restart([&] { return ::ftruncate(descriptor, static_cast<off_t>(size)); });
  return result == 0 ? 0 : errno;
}

int TryLock(int descriptor) noexcept {
  return Restart([&] { return ::flock(descriptor, LOCK_EX | LOCK_NB); }) == 0 ? 0 : errno;
}

int SyncData(int descriptor) noexcept {
  return SyncWith(::fdatasync, descriptor);
}

int SyncAll(int descriptor) noexcept {
  return SyncWith(::fsync, descriptor);
}

bool IsTerminal(int descriptor) noexcept {
  return ::isatty(descriptor) == 1;
}

Descriptor::~Descriptor() {
  if (value >= 0) ::close(value);
}

}  // namespace IO::Posix
