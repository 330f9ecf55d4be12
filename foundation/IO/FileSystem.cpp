#include "foundation/IO/FileSystem.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "foundation/IO/MemoryGuard.h"
#include "foundation/IO/PathNames.h"
#include "foundation/IO/posix/Descriptor.h"
#include "foundation/IO/posix/ErrorStatus.h"
#include "foundation/IO/posix/FolderEntries.h"
#include "foundation/IO/posix/ItemAttributes.h"
#include "foundation/IO/posix/NameExchange.h"
#include "foundation/IO/posix/PathText.h"

namespace IO {
namespace {

// Turns `location` into bytes and hands them to `work`, which returns a value of `errno`.
template <class Work>
int OnPath(const Location& location, Work&& work) noexcept {
  if (!location.IsValid()) return location.GetStatus();
  if (location.IsEmpty()) return StatusInvalidLocation;
  Vx::String path;
  int error = Posix::LocationToBytes(location, path);
  if (error == 0) error = work(path);
  return Posix::FileSystemStatus(error);
}

// Opens the folder of `location` and hands it, the item's name and `target` to `step`.
int ChangeName(const Location& location, const Name& target,
               int (*step)(int folder, const Vx::String& from, const Vx::String& to)) noexcept {
  Location parent;
  Name source;
  const int outcome = location.Split(parent, source);
  if (outcome != StatusSuccess) return outcome;
  return OnPath(parent, [&](const Vx::String& path) {
    Vx::String from;
    Vx::String to;
    Posix::Descriptor folder;
    int error = Posix::NameToBytes(source.GetText(), from);
    if (error == 0) error = Posix::NameToBytes(target.GetText(), to);
    if (error == 0) error = Posix::OpenFolder(path, &folder.value);
    return error != 0 ? error : step(folder.value, from, to);
  });
}

// Upwards to the deepest level that is there or can be made, and down again.
int MakeFolders(const Vx::String& path) {
  const Vx::String::View whole = path.GetView();
  std::size_t end = whole.size();
  int error = Posix::MakeFolder(path);
  while (error == ENOENT) {
    end = whole.rfind('/', end - 1);
    if (end == 0 || end == Vx::String::View::npos) break;  // nothing above can be made
    error = Posix::MakeFolder(Vx::String(whole.substr(0, end)));
  }
  while (error == 0 && end < whole.size()) {
    end = std::min(whole.find('/', end + 1), whole.size());
    error = Posix::MakeFolder(Vx::String(whole.substr(0, end)));
  }
  return error;
}

}  // namespace

int FileSystem::Contains(const Location& location, bool* found) const noexcept {
  Attributes facts;
  const int outcome = GetAttributes(location, &facts, false);
  *found = outcome == StatusSuccess;
  return outcome == StatusNotFound || outcome == StatusNotAFolder ? StatusSuccess : outcome;
}

int FileSystem::GetType(const Location& location, EntryType* type) const noexcept {
  Attributes facts;
  int outcome = GetAttributes(location, &facts, true);
  if (outcome == StatusNotFound) outcome = GetAttributes(location, &facts, false);
  if (outcome == StatusSuccess) *type = facts.type;
  return outcome;
}

int FileSystem::CreateFolderTree(const Location& location) const noexcept {
  return OnPath(location, [](const Vx::String& path) {
    return GuardMemory(ENOMEM, [&path] { return MakeFolders(path); });
  });
}

int FileSystem::Delete(const Location& location, DataSafety, AccessDeniedTreatment) const noexcept {
  return OnPath(location, Posix::RemoveItem);
}

int FileSystem::Rename(const Location& location, const Name& name,
                       AccessDeniedTreatment) const noexcept {
  return ChangeName(location, name, Posix::RenameItem);
}

int FileSystem::Replace(const Location& location, const Name& name,
                        AccessDeniedTreatment) const noexcept {
  return ChangeName(location, name, Posix::ReplaceName);
}

int FileSystem::GetAttributes(const Location& location, Attributes* attributes,
                              bool followLinks) const noexcept {
  return OnPath(location, [&](const Vx::String& path) {
    return Posix::ReadAttributes(path, followLinks, attributes);
  });
}

int FileSystem::ReadLink(const Location& location, Vx::String& target) const noexcept {
  return OnPath(location, [&](const Vx::String& path) {
    return GuardMemory(ENOMEM, [&] { return Posix::ReadLink(path, target); });
  });
}

int FileSystem::Resolve(const Location& location, Location& resolved) const noexcept {
  Vx::String real;
  const int outcome =
      OnPath(location, [&](const Vx::String& path) { return Posix::ResolvePath(path, real); });
  if (outcome != StatusSuccess) return outcome;
  return GuardMemory(StatusOutOfMemory,
                     [&] { return resolved.Set(Posix::BytesToText(real.GetView())); });
}

int FileSystem::GetCurrentFolder(Location& location) const noexcept {
  return GuardMemory(StatusOutOfMemory, [&] {
    Vx::String path;
    const int error = Posix::GetWorkingFolder(path);
    if (error != 0) return Posix::FileSystemStatus(error);
    return location.Set(Posix::BytesToText(path.GetView()));
  });
}

int FileSystem::FromNativePath(std::string_view native, Location& location) const noexcept {
  if (native.empty()) return StatusInvalidLocation;
  return GuardMemory(StatusOutOfMemory, [&] {
    Vx::UniString path;
    if (native.front() != '/') {
      Location current;
      const int outcome = GetCurrentFolder(current);
      if (outcome != StatusSuccess) return outcome;
      path.Append(current.GetPath());
      path.Append(PathNames::Separator);
    }
    path.Append(Posix::BytesToText(native).GetView());
    return location.Set(path);
  });
}

int FileSystem::ToNativePath(const Location& location, Vx::String& native) const noexcept {
  return OnPath(location, [&](Vx::String& path) {
    native = std::move(path);
    return 0;
  });
}

}  // namespace IO
