#include "foundation/IO/posix/ErrorStatus.h"

#include <cerrno>

#include "foundation/IO/Status.h"

namespace IO::Posix {
namespace {

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
  return error == ENOENT ? StatusFileNotFound : CommonStatus(error);
}

int FileSystemStatus(int error) noexcept {
  return error == ENOENT ? StatusNotFound : CommonStatus(error);
}

int ReadStatus(int error) noexcept {
  return error == 0 ? StatusSuccess : StatusReadError;
}

int WriteStatus(int error) noexcept {
  const int status = CommonStatus(error);
  const bool own =
      status == StatusSuccess || status == StatusOutputFull || status == StatusPipeClosed;
  return own ? status : StatusWriteError;
}

bool IsMissing(int error) noexcept {
  return error == ENOENT || error == ENOTDIR;
}

}  // namespace IO::Posix
