#include "foundation/IO/posix/FolderEntries.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "foundation/IO/MemoryGuard.h"
#include "foundation/IO/posix/Descriptor.h"
#include "foundation/IO/posix/ItemAttributes.h"
#include "foundation/IO/posix/LongPath.h"
#include "foundation/IO/posix/PathText.h"

namespace IO::Posix {
namespace {

int ErrorOf(int result) noexcept {
  return result == 0 ? 0 : errno;
}

// What the C library allocated.
struct FreeMemory {
  void operator()(char* memory) const noexcept { std::free(memory); }
};

struct CloseStream {
  void operator()(DIR* stream) const noexcept { ::closedir(stream); }
};

// A second descriptor, since the stream closes its own, and one with a position of its own.
std::unique_ptr<DIR, CloseStream> OpenStream(int folder) noexcept {
  const int own =
      Restart([&] { return ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
  if (own < 0) return nullptr;
  std::unique_ptr<DIR, CloseStream> stream(::fdopendir(own));
  if (!stream) {
    const int error = errno;
    ::close(own);
    errno = error;
  }
  return stream;
}

int MakeFolderIn(int folder, const Vx::String& path, int linkFlag) noexcept {
  constexpr mode_t everybody = 0777;  // less what the process masks out
  if (::mkdirat(folder, path.GetBuffer(), everybody) == 0) return 0;
  const int error = errno;
  struct stat facts {};
  // Systems differ in the reason that they give for a folder that is there already.
  const bool found = ::fstatat(folder, path.GetBuffer(), &facts, linkFlag) == 0;
  if (found && S_ISDIR(facts.st_mode)) return 0;
  return error == EEXIST ? ENOTDIR : error;
}

}  // namespace

bool IsUnsupported(int error) noexcept {
  return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
}

int SwapNames(int folder, const Vx::String& first, const Vx::String& second) noexcept {
  return ErrorOf(
      ::renameat2(folder, first.GetBuffer(), folder, second.GetBuffer(), RENAME_EXCHANGE));
}

int MoveName(int folder, const Vx::String& from, const Vx::String& to) noexcept {
  return ErrorOf(::renameat2(folder, from.GetBuffer(), folder, to.GetBuffer(), RENAME_NOREPLACE));
}

int ReplaceName(int folder, const Vx::String& from, const Vx::String& to) noexcept {
  return ErrorOf(::renameat(folder, from.GetBuffer(), folder, to.GetBuffer()));
}

int LinkName(int folder, const Vx::String& from, const Vx::String& to) noexcept {
  return LinkName(folder, from, folder, to);
}

int LinkName(int fromFolder, const Vx::String& from, int toFolder, const Vx::String& to) noexcept {
  return ErrorOf(::linkat(fromFolder, from.GetBuffer(), toFolder, to.GetBuffer(), 0));
}

int MakeSymbolicLink(int folder, const Vx::String& name, const Vx::String& target) noexcept {
  return ErrorOf(::symlinkat(target.GetBuffer(), folder, name.GetBuffer()));
}

int RemoveName(int folder, const Vx::String& name) noexcept {
  return ErrorOf(::unlinkat(folder, name.GetBuffer(), 0));
}

bool AreOneItem(int folder, const Vx::String& first, const Vx::String& second) noexcept {
  Attributes one;
  Attributes other;
  return ReadAttributes(folder, first, false, &one) == 0 &&
         ReadAttributes(folder, second, false, &other) == 0 && one.IsSameItem(other);
}

int SyncFile(int folder, const Vx::String& name) noexcept {
  // O_NONBLOCK: opening a pipe by mistake must not wait for its other end.
  const Descriptor file(Restart(
      [&] { return ::openat(folder, name.GetBuffer(), O_RDONLY | O_CLOEXEC | O_NONBLOCK); }));
  return file.value < 0 ? errno : SyncAll(file.value);
}

int ListNames(int folder, Folder::Names& names) {
  const std::unique_ptr<DIR, CloseStream> stream = OpenStream(folder);
  if (!stream) return errno;
  while (true) {
    errno = 0;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread has this stream.
    const dirent* const entry = ::readdir(stream.get());
    if (entry == nullptr) return errno;
    const std::string_view name(entry->d_name);
    if (name != "." && name != "..") names.push_back(BytesToText(name));
  }
}

int RemoveItem(const Vx::String& path) noexcept {
  return RemoveItemIn(AT_FDCWD, path);
}

int RemoveItemIn(int folder, const Vx::String& name) noexcept {
  if (::unlinkat(folder, name.GetBuffer(), 0) == 0) return 0;
  const int error = errno;
  // POSIX has EPERM for a folder here, Linux EISDIR.
  if (error != EISDIR && error != EPERM) return error;
  if (::unlinkat(folder, name.GetBuffer(), AT_REMOVEDIR) == 0) return 0;
  return errno == ENOTDIR ? error : errno;
}

int MakeFolder(const Vx::String& path) noexcept {
  return MakeFolderIn(AT_FDCWD, path, 0);
}

int MakeFolderIn(int folder, const Vx::String& name) noexcept {
  return MakeFolderIn(folder, name, AT_SYMLINK_NOFOLLOW);
}

int ResolvePath(const Vx::String& path, Vx::String& real) noexcept {
  const std::unique_ptr<char, FreeMemory> found(::realpath(path.GetBuffer(), nullptr));
  if (!found) return errno;
  return GuardMemory(ENOMEM, [&] {
    real = Vx::String(found.get());
    return 0;
  });
}

int ReadLink(const Vx::String& path, Vx::String& target) {
  const LongPath place(path);
  if (place.GetError() != 0) return place.GetError();
  for (unsigned int size = 256; size <= 0x100000U; size *= 2) {
    const Vx::ByteArray buffer = Vx::NewByteArray(size);
    const ssize_t length = ::readlinkat(place.GetFolder(), place.GetPath(), buffer.get(), size);
    if (length < 0) return errno;
    if (length == static_cast<ssize_t>(size)) continue;  // there may be more
    target = Vx::String(std::string_view(buffer.get(), static_cast<std::size_t>(length)));
    return 0;
  }
  return ENAMETOOLONG;
}

int GetWorkingFolder(Vx::String& path) {
  for (unsigned int size = 256; size <= 0x100000U; size *= 2) {
    const Vx::ByteArray buffer = Vx::NewByteArray(size);
    if (::getcwd(buffer.get(), size) != nullptr) {
      path = Vx::String(buffer.get());
      // A folder outside the process's root has a text that is not a path.
      return path[0] == '/' ? 0 : ENOENT;
    }
    if (errno != ERANGE) return errno;
  }
  return ENAMETOOLONG;
}

}  // namespace IO::Posix
