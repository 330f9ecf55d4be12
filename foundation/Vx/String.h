#pragma once

#include <compare>
#include <string_view>

#include "foundation/Vx/BasicString.h"

namespace Vx {

/// A string of bytes in no particular encoding. A value; see `BasicString` for its operations.
class String final : public BasicString<char> {
 public:
  String() noexcept = default;
  /// Null counts as empty.
  explicit String(const char* text) : BasicString(text == nullptr ? View() : View(text)) {}
  explicit String(View text) : BasicString(text) {}

  [[nodiscard]] String GetSubstring(unsigned int start, unsigned int count = ToEnd) const {
    return String(SubView(start, count));
  }

  friend bool operator==(const String& left, const String& right) noexcept {
    return left.GetView() == right.GetView();
  }
  friend std::strong_ordering operator<=>(const String& left, const String& right) noexcept {
    return left.GetView() <=> right.GetView();
  }
};

}  // namespace Vx
