#include "foundation/IO/FolderTree.h"

#include <cerrno>
#include <utility>

#include "foundation/IO/posix/Beneath.h"
#include "foundation/IO/posix/ErrorStatus.h"
#include "foundation/IO/posix/PathText.h"

namespace IO {

FolderTree::FolderTree(const Location& folder) noexcept
    : rootLocation(folder), root(folder, OnNotFound::Fail) {}

FolderTree::~FolderTree() = default;

// The innermost open level that is the location or lies above it; null for the root. Closes those
// that don't.
FolderTree::Level* FolderTree::FindNearest(const Location& location) noexcept {
  for (; levelCount != 0; --levelCount) {
    Level& level = levels[levelCount - 1];
    if (location == level.location || location.IsBelow(level.location)) return &level;
    level.folder = Folder();
  }
  return nullptr;
}

int FolderTree::Enter(const Location& location, Missing missing, Folder** folder) noexcept {
  if (GetStatus() != 0) return GetStatus();
  if (!location.IsValid()) return location.GetStatus();
  if (location == rootLocation) {
    *folder = &root;
    return StatusSuccess;
  }
  if (!location.IsBelow(rootLocation)) return StatusInvalidArgument;
  Level* const nearest = FindNearest(location);
  if (nearest != nullptr && location == nearest->location) {
    *folder = &nearest->folder;
    return StatusSuccess;
  }
  const Folder& start = nearest != nullptr ? nearest->folder : root;
  const Location& above = nearest != nullptr ? nearest->location : rootLocation;
  const std::size_t known = above.IsRoot() ? 0 : above.GetPath().size();
  Vx::String path;
  int error = Posix::RelativePathToBytes(location.GetPath().substr(known + 1), path);
  Folder entered;
  if (error == 0) {
    error =
        Posix::OpenBeneath(start.descriptor, path, missing == Missing::Make, &entered.descriptor);
  }
  if (error == ELOOP) return StatusLinkOnTheWay;
  if (error != 0) return Posix::FileSystemStatus(error);
  if (levelCount < MaxLevels) ++levelCount;
  Level& level = levels[levelCount - 1];
  level.folder = std::move(entered);
  // Out of memory, the copy is invalid: no location equals it or lies below it.
  level.location = location;
  *folder = &level.folder;
  return StatusSuccess;
}

}  // namespace IO
