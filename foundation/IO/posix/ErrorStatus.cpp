#include "foundation/IO/posix/ErrorStatus.h"

#include <cerrno>
#include <string.h>  // NOLINT(modernize-deprecated-headers): strerror_r is not in <cstring>

#include "foundation/IO/Status.h"

namespace IO::Posix {
namespace {

// A thread's last failure: a status says less than the `errno` that it was made of.
struct LastFailure {
  int error = 0;
  int status = 0;
};
thread_local constinit LastFailure lastFailure;

int Remember(int error, int status) noexcept {
  if (error != 0) lastFailure = {error, status};
  return status;
}

// The two forms of `strerror_r` that systems have: one fills the buffer, one may return a text of
// its own.
[[maybe_unused]] const char* GetText(int result, const char* buffer) noexcept {
  return result == 0 ? buffer : "unknown error";
}
[[maybe_unused]] const char* GetText(const char* result, const char*) noexcept {
  return result;
}

int CommonStatus(int error) noexcept {
  switch (error) {
    case 0:
      return StatusSuccess;
    case ENOMEM:
      return StatusOutOfMemory;
    case EINVAL:
      return StatusInvalidArgument;
    case EILSEQ:
    case ELOOP:
    case ENAMETOOLONG:
      return StatusInvalidLocation;
    case EFBIG:
    case ENOSPC:
    case EDQUOT:
      return StatusOutputFull;
    case EPIPE:
      return StatusPipeClosed;
    case EEXIST:
      return StatusAlreadyExists;
    case EACCES:
    case EPERM:
    case EROFS:
    case EBUSY:
    case ETXTBSY:
      return StatusAccessDenied;
    case EWOULDBLOCK:
      return StatusLocked;
    case ENOTDIR:
      return StatusNotAFolder;
    case EISDIR:
      return StatusIsAFolder;
    case ENOTEMPTY:
      return StatusFolderNotEmpty;
    default:
      return StatusFailed;
  }
}

}  // namespace

int FileStatus(int error) noexcept {
  return Remember(error, error == ENOENT ? StatusFileNotFound : CommonStatus(error));
}

int LookupStatus(int error) noexcept {
  return IsMissing(error) ? Remember(error, StatusFileNotFound) : FileStatus(error);
}

int FileSystemStatus(int error) noexcept {
  return Remember(error, error == ENOENT ? StatusNotFound : CommonStatus(error));
}

int ReadStatus(int error) noexcept {
  return Remember(error, error == 0 ? StatusSuccess : StatusReadError);
}

int WriteStatus(int error) noexcept {
  const int status = CommonStatus(error);
  const bool own =
      status == StatusSuccess || status == StatusOutputFull || status == StatusPipeClosed;
  return Remember(error, own ? status : StatusWriteError);
}

int GetLastError(int status) noexcept {
  return lastFailure.status == status ? lastFailure.error : 0;
}

Vx::String DescribeError(int error) {
  char buffer[256] = "";
  return Vx::String(GetText(::strerror_r(error, buffer, sizeof(buffer)), buffer));
}

bool IsMissing(int error) noexcept {
  return error == ENOENT || error == ENOTDIR;
}

}  // namespace IO::Posix
