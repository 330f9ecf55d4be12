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

int FolderTree::Enter(const Location& location, Missing missing, Folder** folder) noexcept {
  if (GetStatus() != 0) return GetStatus();
  if (!location.IsValid()) return location.GetStatus();
  if (location == rootLocation) {
    *folder = &root;
    return StatusSuccess;
  }
  if (last.descriptor >= 0 && location == lastLocation) {
    *folder = &last;
    return StatusSuccess;
  }
  if (!location.IsBelow(rootLocation)) return StatusInvalidArgument;
  const std::size_t above = rootLocation.IsRoot() ? 0 : rootLocation.GetPath().size();
  Vx::String path;
  int error = Posix::RelativePathToBytes(location.GetPath().substr(above + 1), path);
  Folder entered;
  if (error == 0) {
    error =
        Posix::OpenBeneath(root.descriptor, path, missing == Missing::Make, &entered.descriptor);
  }
  if (error == ELOOP) return StatusLinkOnTheWay;
  if (error != 0) return Posix::FileSystemStatus(error);
  last = std::move(entered);
  // Out of memory, the copy is invalid, and equals no location.
  lastLocation = location;
  *folder = &last;
  return StatusSuccess;
}

}  // namespace IO
