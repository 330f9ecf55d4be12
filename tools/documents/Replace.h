#pragma once

#include <string>
#include <string_view>

namespace Documents {

/// `text` with each `found` replaced by `substitute`.
[[nodiscard]] inline std::string Replace(std::string text, std::string_view found,
                                         std::string_view substitute) {
  for (std::size_t at = text.find(found); at != text.npos;
       at = text.find(found, at + substitute.size())) {
    text.replace(at, found.size(), substitute);
  }
  return text;
}

}  // namespace Documents
