#pragma once

#include <algorithm>
#include <string_view>

#include "foundation/Vx/UniString.h"

namespace Larkspan::Archive {

/// Whether the entry `name` lies below `folder`, at any depth.
[[nodiscard]] inline bool IsBelow(std::u16string_view name, std::u16string_view folder) noexcept {
  return name.size() > folder.size() && name.starts_with(folder) && name[folder.size()] == u'/';
}

/// Calls `work` with the path of each folder above the entry, from the outermost on.
template <class Work>
void ForEachFolderAbove(const Vx::UniString& name, Work&& work) {
  const std::u16string_view path = name;
  for (auto end = path.find(u'/'); end != path.npos; end = path.find(u'/', end + 1)) {
    work(Vx::UniString(path.substr(0, end)));
  }
}

/// The name without its first `count` parts; empty if no more is left.
[[nodiscard]] inline Vx::UniString StripParts(const Vx::UniString& name, unsigned int count) {
  constexpr std::u16string_view separators = u"/\\";
  std::u16string_view rest = name.GetView();
  while (count-- > 0 && !rest.empty()) {
    rest.remove_prefix(std::min(rest.find_first_not_of(separators), rest.size()));
    rest.remove_prefix(std::min(rest.find_first_of(separators), rest.size()));
    rest.remove_prefix(std::min(rest.find_first_not_of(separators), rest.size()));
  }
  return Vx::UniString(rest);
}

}  // namespace Larkspan::Archive
