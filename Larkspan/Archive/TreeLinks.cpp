#include "Larkspan/Archive/TreeLinks.h"

namespace Larkspan::Archive {
namespace {

// Takes the first part of a path off its front; empty parts and `.` lead nowhere.
template <class View>
View TakePart(View& path) noexcept {
  const View part = path.substr(0, path.find('/'));
  path.remove_prefix(part.size() < path.size() ? part.size() + 1 : part.size());
  return part;
}

template <class View>
bool IsNothing(View part) noexcept {
  return part.empty() || (part.size() == 1 && part.front() == '.');
}

}  // namespace

bool StaysBelow(std::u16string_view name, std::string_view target) noexcept {
  if (target.starts_with('/')) return false;
  std::size_t depth = 0;
  while (!name.empty()) depth += IsNothing(TakePart(name)) ? 0U : 1U;
  bool hasGoneDown = false;
  for (std::size_t ups = 1; !target.empty();) {
    const std::string_view part = TakePart(target);
    if (IsNothing(part)) continue;
    if (part != "..") {
      hasGoneDown = true;
    } else if (hasGoneDown || ++ups > depth) {
      return false;
    }
  }
  return true;
}

}  // namespace Larkspan::Archive
