#include "foundation/IO/posix/ItemAttributes.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "foundation/IO/posix/LongPath.h"

namespace IO::Posix {
namespace {

constexpr mode_t PermissionBits = 07777;

EntryType GetEntryType(mode_t mode) noexcept {
  if (S_ISREG(mode)) return EntryType::File;
  if (S_ISDIR(mode)) return EntryType::Folder;
  if (S_ISLNK(mode)) return EntryType::SymbolicLink;
  return EntryType::Other;
}

Attributes FromSystem(const struct stat& facts) noexcept {
  Attributes attributes;
  attributes.type = GetEntryType(facts.st_mode);
  attributes.size = static_cast<unsigned __int64>(facts.st_size);
  attributes.modifiedSeconds = facts.st_mtim.tv_sec;
  attributes.modifiedNanoseconds = static_cast<unsigned int>(facts.st_mtim.tv_nsec);
  attributes.mode = facts.st_mode & PermissionBits;
  attributes.owner = facts.st_uid;
  attributes.group = facts.st_gid;
  attributes.device = facts.st_dev;
  attributes.node = facts.st_ino;
  attributes.links = static_cast<unsigned int>(facts.st_nlink);
  constexpr unsigned __int64 blockSize = 512;  // of st_blocks, whatever the file system's is
  attributes.allocated = static_cast<unsigned __int64>(facts.st_blocks) * blockSize;
  return attributes;
}

int ReadAttributesOf(int folder, const char* path, bool followLinks,
                     Attributes* attributes) noexcept {
  struct stat facts {};
  if (::fstatat(folder, path, &facts, followLinks ? 0 : AT_SYMLINK_NOFOLLOW) != 0) return errno;
  *attributes = FromSystem(facts);
  return 0;
}

// The time of access stays.
struct Times {
  explicit Times(const Attributes& attributes) noexcept {
    values[0].tv_nsec = UTIME_OMIT;
    values[1].tv_sec = attributes.modifiedSeconds;
    values[1].tv_nsec = static_cast<long>(attributes.modifiedNanoseconds);
  }
  timespec values[2] = {};
};

}  // namespace

int ReadAttributes(const Vx::String& path, bool followLinks, Attributes* attributes) noexcept {
  const LongPath place(path);
  if (place.GetError() != 0) return place.GetError();
  return ReadAttributesOf(place.GetFolder(), place.GetPath(), followLinks, attributes);
}

int ReadAttributes(int folder, const Vx::String& name, bool followLinks,
                   Attributes* attributes) noexcept {
  return ReadAttributesOf(folder, name.GetBuffer(), followLinks, attributes);
}

int ReadAttributes(int descriptor, Attributes* attributes) noexcept {
  struct stat facts {};
  if (::fstat(descriptor, &facts) != 0) return errno;
  *attributes = FromSystem(facts);
  return 0;
}

int WriteFolderAttributes(int folder, const Vx::String& name,
                          const Attributes& attributes) noexcept {
  Attributes present;
  const int error = ReadAttributes(folder, name, false, &present);
  if (error != 0) return error;
  if (present.type != EntryType::Folder) return ENOTDIR;
  // The flag holds even if somebody has put a link there since it was looked at.
  if (::fchmodat(folder, name.GetBuffer(), attributes.mode & PermissionBits, AT_SYMLINK_NOFOLLOW) !=
      0) {
    return errno;
  }
  const Times times(attributes);
  return ::utimensat(folder, name.GetBuffer(), times.values, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

int WriteTime(int folder, const Vx::String& name, const Attributes& attributes) noexcept {
  const Times times(attributes);
  return ::utimensat(folder, name.GetBuffer(), times.values, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

int WriteOwner(int folder, const Vx::String& name, const Attributes& attributes) noexcept {
  const int result =
      ::fchownat(folder, name.GetBuffer(), attributes.owner, attributes.group, AT_SYMLINK_NOFOLLOW);
  return result == 0 ? 0 : errno;
}

int WriteAttributes(int descriptor, const Attributes& attributes) noexcept {
  if (::fchmod(descriptor, attributes.mode & PermissionBits) != 0) return errno;
  return WriteTime(descriptor, attributes);
}

int WriteTime(int descriptor, const Attributes& attributes) noexcept {
  const Times times(attributes);
  return ::futimens(descriptor, times.values) == 0 ? 0 : errno;
}

int WriteOwner(int descriptor, const Attributes& attributes) noexcept {
  if (::fchown(descriptor, attributes.owner, attributes.group) == 0) return 0;
  const int error = errno;
  // Who may not give files away may still give them to a group of his own.
  constexpr auto unchanged = static_cast<uid_t>(-1);
  static_cast<void>(::fchown(descriptor, unchanged, attributes.group) == 0);
  return error;
}

}  // namespace IO::Posix
