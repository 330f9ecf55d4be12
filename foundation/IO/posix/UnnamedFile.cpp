#include "foundation/IO/posix/UnnamedFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <random>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "foundation/IO/MemoryGuard.h"
#include "foundation/IO/posix/Descriptor.h"
#include "foundation/IO/posix/FolderEntries.h"
#include "foundation/IO/posix/NameExchange.h"
#include "foundation/IO/posix/PathText.h"

namespace IO::Posix {
namespace {

constexpr std::string_view Prefix = ".larkspan-";
constexpr std::size_t DigitCount = 16;
constexpr unsigned int MaxAttempts = 100;

// 64 random bits, so that nobody can put something in the way of a name yet to come.
Vx::String MakeTemporaryName() {
  std::random_device device;
  char name[32];
  std::snprintf(name, sizeof(name), "%s%08x%08x", Prefix.data(), device(), device());
  return Vx::String(name);
}

bool LeadsTo(int folder, const Vx::String& name, int descriptor) noexcept {
  struct stat named {};
  struct stat opened {};
  return ::fstatat(folder, name.GetBuffer(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
         ::fstat(descriptor, &opened) == 0 && named.st_dev == opened.st_dev &&
         named.st_ino == opened.st_ino;
}

bool IsSymbolicLink(int folder, const Vx::String& name) noexcept {
  struct stat facts {};
  return ::fstatat(folder, name.GetBuffer(), &facts, AT_SYMLINK_NOFOLLOW) == 0 &&
         S_ISLNK(facts.st_mode);
}

#ifdef O_TMPFILE
// The file is named through this folder of the system.
bool HasDescriptorPaths() noexcept {
  static const bool has = ::access("/proc/self/fd", X_OK) == 0;
  return has;
}

int MakeWithoutName(int folder, mode_t mode, int* descriptor) noexcept {
  if (!HasDescriptorPaths()) return EOPNOTSUPP;
  const int opened =
      Restart([&] { return ::openat(folder, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, mode); });
  return opened < 0 ? errno : KeepFromStreams(opened, descriptor);
}

int LinkDescriptor(int folder, int descriptor, const Vx::String& target) noexcept {
  char path[32];
  std::snprintf(path, sizeof(path), "/proc/self/fd/%d", descriptor);
  return ::linkat(AT_FDCWD, path, folder, target.GetBuffer(), AT_SYMLINK_FOLLOW) == 0 ? 0 : errno;
}
#else
int MakeWithoutName(int, mode_t, int*) noexcept {
  return EOPNOTSUPP;
}

int LinkDescriptor(int, int, const Vx::String&) noexcept {
  return EOPNOTSUPP;
}
#endif

// File systems differ in how they refuse a file without a name.
bool HasNoUnnamedFiles(int error) noexcept {
  return error == EOPNOTSUPP || error == EISDIR || error == EINVAL || error == ENOENT;
}

// A cleaner can take the lock, and remove the file, before its maker locks it: then again.
int MakeWithName(int folder, mode_t mode, int* descriptor, Vx::String& name) {
  RemoveDeadFiles(folder);
  int error = EEXIST;
  for (unsigned int attempt = 0; error == EEXIST && attempt < MaxAttempts; ++attempt) {
    Vx::String chosen = MakeTemporaryName();
    Descriptor file;
    const Access access = mode == OrdinaryMode ? Access::WriteNew : Access::WriteNewPrivate;
    error = OpenFileIn(folder, chosen, access, &file.value);
    if (error != 0) continue;
    error = TryLock(file.value);
    if (error == EWOULDBLOCK || (error == 0 && !LeadsTo(folder, chosen, file.value))) {
      error = EEXIST;
    }
    if (error != 0) {
      static_cast<void>(RemoveName(folder, chosen));
      continue;
    }
    *descriptor = std::exchange(file.value, -1);
    name = std::move(chosen);
  }
  return error;
}

}  // namespace

int MakeUnnamedFile(int folder, unsigned int mode, int* descriptor, Vx::String& name) noexcept {
  const int error = MakeWithoutName(folder, mode, descriptor);
  if (!HasNoUnnamedFiles(error)) return error;
  return GuardMemory(ENOMEM, [&] { return MakeWithName(folder, mode, descriptor, name); });
}

int NameFile(int folder, int descriptor, const Vx::String& name,
             const Vx::String& target) noexcept {
  return name.IsEmpty() ? LinkDescriptor(folder, descriptor, target)
                        : MoveItem(folder, name, target);
}

int NameFileReplacing(int folder, int descriptor, const Vx::String& name,
                      const Vx::String& target) noexcept {
  if (!name.IsEmpty()) return ReplaceName(folder, name, target);
  // No call gives a nameless file the name of another one; where that is free, one is enough.
  const int error = LinkDescriptor(folder, descriptor, target);
  if (error != EEXIST) return error;
  return GuardMemory(ENOMEM, [&] {
    RemoveDeadFiles(folder);
    // From here on the file has a temporary name, and is as good as one that was made with it.
    if (const int locked = TryLock(descriptor); locked != 0) return locked;
    const Vx::String temporary = MakeTemporaryName();
    int failure = LinkDescriptor(folder, descriptor, temporary);
    if (failure == 0) failure = ReplaceName(folder, temporary, target);
    if (failure != 0) static_cast<void>(RemoveName(folder, temporary));
    return failure;
  });
}

int PutReplacing(int folder, const Vx::String& target,
                 const std::function<int(const Vx::String&)>& make) noexcept {
  return GuardMemory(ENOMEM, [&] {
    RemoveDeadFiles(folder);
    // Nothing shows others that the name is alive: who removes dead ones can take it away.
    int error = ENOENT;
    for (unsigned int attempt = 0; error == ENOENT && attempt < MaxAttempts; ++attempt) {
      const Vx::String temporary = MakeTemporaryName();
      error = make(temporary);
      if (error != 0) return error;
      error = ReplaceName(folder, temporary, target);
      // Nothing is moved where both are names of one file.
      static_cast<void>(RemoveName(folder, temporary));
    }
    return error;
  });
}

bool IsTemporaryName(Vx::String::View name) noexcept {
  return name.size() == Prefix.size() + DigitCount && name.starts_with(Prefix) &&
         name.find_first_not_of("0123456789abcdef", Prefix.size()) == name.npos;
}

void RemoveIfDead(int folder, const Vx::String& name) noexcept {
  Descriptor file;
  if (OpenFileIn(folder, name, Access::Read, &file.value) != 0) return;
  struct stat facts {};
  if (::fstat(file.value, &facts) != 0 || !S_ISREG(facts.st_mode)) return;
  if (TryLock(file.value) != 0 || !LeadsTo(folder, name, file.value)) return;
  static_cast<void>(RemoveName(folder, name));
}

void RemoveDeadFiles(int folder) noexcept {
  static_cast<void>(GuardMemory(ENOMEM, [&] {
    Folder::Names names;
    const int error = ListNames(folder, names);
    for (const Vx::UniString& name : names) {
      Vx::String bytes;
      if (NameToBytes(name, bytes) != 0 || !IsTemporaryName(bytes.GetView())) continue;
      if (IsSymbolicLink(folder, bytes)) {
        // It can't be locked; who was still to rename it makes another.
        static_cast<void>(RemoveName(folder, bytes));
      } else {
        RemoveIfDead(folder, bytes);
      }
    }
    return error;
  }));
}

}  // namespace IO::Posix
