#include "foundation/IO/SystemError.h"

#include "foundation/IO/FileSystem.h"
#include "foundation/IO/MemoryGuard.h"
#include "foundation/IO/posix/ErrorStatus.h"

namespace IO {
namespace {

// The path is the one thing that takes memory; a failure is told without it rather than not at all.
template <class GetPath>
Vx::FailureDetail MakeDetail(int status, GetPath getPath) noexcept {
  Vx::FailureDetail detail;
  detail.status = status;
  detail.systemError = GetSystemError(status);
  static_cast<void>(
      GuardMemory(StatusOutOfMemory, [&] { return getPath(detail.path), StatusSuccess; }));
  return detail;
}

}  // namespace

int GetSystemError(int status) noexcept {
  return Posix::GetLastError(status);
}

Vx::String DescribeSystemError(int error) {
  return Posix::DescribeError(error);
}

Vx::FailureDetail MakeFailureDetail(const Location& location, int status) noexcept {
  return MakeDetail(status, [&](Vx::String& path) {
    static_cast<void>(fileSystem.ToNativePath(location, path));
  });
}

Vx::FailureDetail MakeFailureDetail(const File& file, int status) noexcept {
  return MakeDetail(status, [&](Vx::String& path) { path = file.GetNativePath(); });
}

}  // namespace IO
