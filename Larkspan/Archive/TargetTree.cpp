#include "Larkspan/Archive/TargetTree.h"

#include <optional>
#include <utility>

#include "foundation/IO/FileSystem.h"
#include "foundation/IO/Folder.h"
#include "foundation/Vx/OutOfMemoryException.h"

namespace Larkspan::Archive {
namespace {

using Missing = ::IO::FolderTree::Missing;

// Made before the tree opens it.
const ::IO::Location& Prepare(const ::IO::Location& folder,
                              std::vector<::IO::Location>& changedParents,
                              const TargetTree::Fail& fail) {
  for (::IO::Location level = folder; !level.IsRoot();) {
    bool found = false;
    // Where nobody can look, making it will tell why.
    if (::IO::fileSystem.Contains(level, &found) != 0 || found) break;
    level = level.GetParent();
    changedParents.push_back(level);
  }
  const int status = ::IO::fileSystem.CreateFolderTree(folder);
  if (status != 0) fail(TargetTree::Step::Make, folder, status);
  return folder;
}

}  // namespace

TargetTree::TargetTree(const ::IO::Location& folder, Sync wanted, Fail failure)
    : sync(wanted),
      fail(std::move(failure)),
      tree(Prepare(folder, changedParents, fail)),
      current(folder) {}

void TargetTree::Flush(::IO::Folder& folder, const ::IO::Location& location) const {
  const int status = folder.Flush();
  if (status != 0) fail(Step::Sync, location, status);
}

::IO::Folder* TargetTree::Find(const ::IO::Location& folder) {
  ::IO::Folder* found = nullptr;
  const int status = tree.Enter(folder, Missing::Fail, &found);
  if (status == ::IO::StatusNotFound) return nullptr;
  if (status != 0) fail(Step::Enter, folder, status);
  return found;
}

::IO::Folder& TargetTree::Enter(const ::IO::Location& folder) {
  SyncUpTo(folder);
  current = folder;
  ::IO::Folder* entered = nullptr;
  const int status = tree.Enter(folder, Missing::Make, &entered);
  if (status != 0) fail(Step::Make, folder, status);
  return *entered;
}

// Whatever was made below a folder was made before the work leaves it, so that an archive that goes
// through its folders in order has each of them synced once.
void TargetTree::SyncUpTo(const ::IO::Location& next) {
  if (sync == Sync::No) return;
  while (current != next && !next.IsBelow(current)) {
    if (::IO::Folder* const folder = Find(current)) Flush(*folder, current);
    current = current.GetParent();
  }
}

int TargetTree::SetAttributes(const ::IO::Location& folder, const ::IO::Attributes& attributes,
                              bool withOwner) {
  ::IO::Location parentLocation;
  ::IO::Name name;
  if (folder.Split(parentLocation, name) != 0) Vx::ThrowOutOfMemory();
  // The mode may be one that lets nobody open the folder.
  std::optional<::IO::Folder> held;
  if (sync == Sync::Yes) held.emplace(folder, ::IO::OnNotFound::Ignore);
  const ::IO::Folder* const parent = Find(parentLocation);
  if (parent == nullptr) return ::IO::StatusNotFound;
  int status = withOwner ? parent->SetOwner(name, attributes) : 0;
  if (status == 0) status = parent->SetFolderAttributes(name, attributes);
  if (status == 0 && held) Flush(*held, folder);
  return status;
}

void TargetTree::Finish() {
  if (sync == Sync::No) return;
  SyncUpTo(GetLocation());
  Flush(*Find(GetLocation()), GetLocation());
  for (const ::IO::Location& parent : changedParents) {
    ::IO::Folder folder(parent, ::IO::OnNotFound::Fail);
    Flush(folder, parent);
  }
}

}  // namespace Larkspan::Archive
