#include "foundation/IO/PathNames.h"

#include <algorithm>

namespace IO::PathNames {

using View = Vx::UniString::View;

bool IsName(View name) noexcept {
  if (name.empty() || name == u"." || name == u"..") return false;
  return std::none_of(name.begin(), name.end(),
                      [](Vx::UniChar unit) { return unit == u'\0' || IsSeparator(unit); });
}

void AppendName(Vx::UniString& path, unsigned int rootLength, View name) {
  if (path.GetLength() > rootLength) path.Append(Separator);
  path.Append(name);
}

bool RemoveLastName(Vx::UniString& path, unsigned int rootLength) {
  if (path.GetLength() <= rootLength) return false;
  const unsigned int start = FindLastName(path, rootLength);
  const unsigned int end = start > rootLength ? start - 1 : start;
  path.Assign(path.GetView().substr(0, end));
  return true;
}

bool AppendText(Vx::UniString& path, unsigned int rootLength, View text) {
  while (!text.empty()) {
    const auto end = std::find_if(text.begin(), text.end(), IsSeparator);
    const View name = text.substr(0, static_cast<View::size_type>(end - text.begin()));
    text.remove_prefix(std::min(name.size() + 1, text.size()));
    if (name.empty() || name == u".") continue;
    if (name == u"..") {
      if (!RemoveLastName(path, rootLength)) return false;
      continue;
    }
    if (!IsName(name)) return false;
    AppendName(path, rootLength, name);
  }
  return true;
}

unsigned int CountNames(View path, unsigned int rootLength) noexcept {
  if (path.size() <= rootLength) return 0;
  return static_cast<unsigned int>(std::count(path.begin() + rootLength, path.end(), Separator)) +
         1;
}

unsigned int FindLastName(View path, unsigned int rootLength) noexcept {
  const View local = path.substr(rootLength);
  const auto separator = local.rfind(Separator);
  if (separator == View::npos) return rootLength;
  return rootLength + static_cast<unsigned int>(separator) + 1;
}

}  // namespace IO::PathNames
