#include "foundation/IO/posix/Beneath.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include <climits>

#include "foundation/IO/MemoryGuard.h"
#include "foundation/IO/posix/Descriptor.h"
#include "foundation/IO/posix/FolderEntries.h"

#if __has_include(<linux/openat2.h>)
#include <linux/openat2.h>
#include <sys/syscall.h>
#endif

namespace IO::Posix {
namespace {

#ifdef SYS_openat2
// Whether the system has the call; a sandbox may forbid it, too.
constinit std::atomic<bool> hasOpenAt2 = true;

// One call for the whole path. ENOSYS where there is no such call, or none for so long a path.
int OpenAtOnce(int root, const Vx::String& path, int* descriptor) noexcept {
  if (!hasOpenAt2 || path.GetLength() >= PATH_MAX) return ENOSYS;
  open_how how{};
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
  for (const int access : {O_RDONLY, O_PATH}) {
    how.flags = static_cast<unsigned int>(access | O_DIRECTORY | O_CLOEXEC);
    const long opened = ::syscall(SYS_openat2, root, path.GetBuffer(), &how, sizeof(how));
    if (opened >= 0) return KeepFromStreams(static_cast<int>(opened), descriptor);
    if (errno != EACCES) break;
  }
  if (errno == ENOSYS || errno == EPERM || errno == E2BIG || errno == EINVAL) {
    hasOpenAt2 = false;
    return ENOSYS;
  }
  // The path changed while it was walked: a walk by names comes to an end in any case.
  return errno == EAGAIN || errno == EINTR ? ENOSYS : errno;
}
#else
int OpenAtOnce(int, const Vx::String&, int*) noexcept {
  return ENOSYS;
}
#endif

bool IsLink(int folder, const Vx::String& name) noexcept {
  struct stat facts {};
  return ::fstatat(folder, name.GetBuffer(), &facts, AT_SYMLINK_NOFOLLOW) == 0 &&
         S_ISLNK(facts.st_mode);
}

// One level down. A link is ELOOP, whatever the system says of it.
int Descend(int folder, const Vx::String& name, int* descriptor) noexcept {
  const int error = OpenFolderIn(folder, name, descriptor);
  return error == ENOTDIR && IsLink(folder, name) ? ELOOP : error;
}

int MakeAndDescend(int folder, const Vx::String& name, int* descriptor) noexcept {
  const int error = MakeFolderIn(folder, name);
  if (error == ENOTDIR && IsLink(folder, name)) return ELOOP;
  return error == 0 ? Descend(folder, name, descriptor) : error;
}

// `isMissing` says that the last level is known to be missing.
int Walk(int root, const Vx::String& path, bool make, bool isMissing, int* descriptor) {
  const Vx::String::View whole = path.GetView();
  Descriptor folder;
  int current = root;
  int error = 0;
  for (std::size_t start = 0, end = 0; error == 0 && start < whole.size(); start = end + 1) {
    end = std::min(whole.find('/', start), whole.size());
    const Vx::String name(whole.substr(start, end - start));
    Descriptor next;
    const bool isLast = end == whole.size();
    error = isMissing && isLast ? ENOENT : Descend(current, name, &next.value);
    if (error == ENOENT && make) error = MakeAndDescend(current, name, &next.value);
    std::swap(folder.value, next.value);
    current = folder.value;
  }
  if (error == 0) *descriptor = std::exchange(folder.value, -1);
  return error;
}

}  // namespace

int OpenBeneath(int root, const Vx::String& path, bool make, int* descriptor) noexcept {
  if (path.IsEmpty()) return Duplicate(root, descriptor);
  const int error = OpenAtOnce(root, path, descriptor);
  // The walk makes what is missing, and tells a link from anything else that is not a folder.
  if (error == 0 || (error == ENOENT && !make)) return error;
  const bool isMissing = error == ENOENT;
  return GuardMemory(ENOMEM, [&] { return Walk(root, path, make, isMissing, descriptor); });
}

}  // namespace IO::Posix
