#include "tools/larkspan/TargetTree.h"

#include "foundation/IO/FileSystem.h"
#include "foundation/IO/Folder.h"
#include "foundation/Vx/OutOfMemoryException.h"
#include "tools/larkspan/Failure.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

using Missing = ::IO::FolderTree::Missing;

// Makes the folder. Returns those in which a new one has its name.
std::vector<::IO::Location> MakeTarget(const ::IO::Location& folder) {
  std::vector<::IO::Location> changed;
  for (::IO::Location level = folder; !level.IsRoot();) {
    bool found = false;
    // Where nobody can look, making it will tell why.
    if (::IO::fileSystem.Contains(level, &found) != 0 || found) break;
    level = level.GetParent();
    changed.push_back(level);
  }
  const int status = ::IO::fileSystem.CreateFolderTree(folder);
  if (status != 0) throw SystemFailure(ToPrintable(folder), "can't be made", status);
  return changed;
}

void Flush(::IO::Folder& folder, const ::IO::Location& location) {
  const int status = folder.Flush();
  if (status != 0) throw SystemFailure(ToPrintable(location), "can't be synced", status);
}

}  // namespace

TargetTree::TargetTree(const ::IO::Location& folder, Sync wanted)
    : sync(wanted), changedParents(MakeTarget(folder)), tree(folder), current(folder) {}

::IO::Folder* TargetTree::Find(const ::IO::Location& folder) {
  ::IO::Folder* found = nullptr;
  const int status = tree.Enter(folder, Missing::Fail, &found);
  if (status == ::IO::StatusNotFound) return nullptr;
  if (status != 0) throw SystemFailure(ToPrintable(folder), "can't be entered", status);
  return found;
}

::IO::Folder& TargetTree::Enter(const ::IO::Location& folder) {
  SyncUpTo(folder);
  current = folder;
  ::IO::Folder* entered = nullptr;
  const int status = tree.Enter(folder, Missing::Make, &entered);
  if (status != 0) throw SystemFailure(ToPrintable(folder), "can't be made", status);
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
  ::IO::Folder held(folder, ::IO::OnNotFound::Ignore);
  const ::IO::Folder* const parent = Find(parentLocation);
  if (parent == nullptr) return ::IO::StatusNotFound;
  int status = withOwner ? parent->SetOwner(name, attributes) : 0;
  if (status == 0) status = parent->SetFolderAttributes(name, attributes);
  if (status == 0 && sync == Sync::Yes) Flush(held, folder);
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

}  // namespace Tool
