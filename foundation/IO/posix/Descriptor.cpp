#include "foundation/IO/posix/Descriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

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
    case Access::Read:
      break;
  }
  return O_RDONLY;
}

int OpenPath(const Vx::String& path, int flags, int* descriptor) noexcept {
  constexpr mode_t everybody = 0666;  // less what the process masks out
  int opened = -1;
  do {
    opened = ::open(path.GetBuffer(), flags | O_CLOEXEC | O_NOCTTY, everybody);
  } while (opened < 0 && errno == EINTR);
  if (opened < 0) return errno;
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

int SyncResult(int result) noexcept {
  if (result == 0) return 0;
  // EINVAL is the system's word for a pipe, a terminal, or a folder that has no sync of its own.
  return errno == EINVAL ? 0 : errno;
}

}  // namespace

int OpenFile(const Vx::String& path, Access access, int* descriptor) noexcept {
  return OpenPath(path, GetFlags(access), descriptor);
}

int OpenFolder(const Vx::String& path, int* descriptor) noexcept {
  return OpenPath(path, O_RDONLY | O_DIRECTORY, descriptor);
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

int SyncData(int descriptor) noexcept {
  return SyncResult(::fdatasync(descriptor));
}

int SyncAll(int descriptor) noexcept {
  return SyncResult(::fsync(descriptor));
}

bool IsTerminal(int descriptor) noexcept {
  return ::isatty(descriptor) == 1;
}

Descriptor::~Descriptor() {
  if (value >= 0) ::close(value);
}

}  // namespace IO::Posix
