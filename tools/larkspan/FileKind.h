#pragma once

#include <string_view>

namespace Tool {

/// What a file is that begins with these bytes, of which there may be 512: "a gzip file"; empty if
/// nothing is known of it.
[[nodiscard]] std::string_view FindFileKind(std::string_view beginning) noexcept;

}  // namespace Tool
