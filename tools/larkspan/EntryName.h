#pragma once

#include <string_view>

namespace Tool {

/// Whether the entry `name` lies below `folder`, at any depth.
[[nodiscard]] inline bool IsBelow(std::u16string_view name, std::u16string_view folder) noexcept {
  return name.size() > folder.size() && name.starts_with(folder) && name[folder.size()] == u'/';
}

}  // namespace Tool
