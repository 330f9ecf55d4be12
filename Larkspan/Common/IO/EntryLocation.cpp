#include "Larkspan/Common/IO/EntryLocation.h"

#include <algorithm>
#include <string_view>

#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/LocationUtils.h"

namespace Larkspan::Common::IO {
namespace {

// The name as a relative path.
Vx::UniString ToRelativePath(const Vx::UniString& name) {
  const bool slash = !name.IsEmpty() && name[0] == u'/';
  Vx::UniString path = name.GetSubstring(slash ? 1 : 0);
  path.ReplaceAll(u'/', u'\\');
  return path;
}

bool HasParentComponent(std::u16string_view path) noexcept {
  while (!path.empty()) {
    const std::size_t end = std::min(path.find(u'\\'), path.size());
    if (path.substr(0, end) == u"..") return true;
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  return false;
}

}  // namespace

::IO::Location LocationFromEntryName(const ::IO::Location& folder, const Vx::UniString& name) {
  const Vx::UniString path = ToRelativePath(name);
  if (HasParentComponent(path)) {
    throw ArchiveException("Invalid archive entry name: name has a component that leads upwards.",
                           __FILE__, __LINE__);
  }
  ::IO::Location location = LocationFromRelativePath(folder, path);
  if (!location.IsBelow(folder)) {
    throw ArchiveException(
        "Invalid archive entry name: name does not lead below the target folder.", __FILE__,
        __LINE__);
  }
  return location;
}

}  // namespace Larkspan::Common::IO
