#include "tools/larkspan/NameSelection.h"

#include <algorithm>

#include "Larkspan/Archive/EntryName.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

// The name without a leading `./`, which leads nowhere, and with its backslashes unified.
Vx::UniString Fold(Vx::UniString::View name) {
  while (name.starts_with(u"./")) name.remove_prefix(2);
  return FoldBackslashes(Vx::UniString(name));
}

// As a shell completes it: perhaps with a trailing `/`.
Vx::UniString ToName(std::string_view argument) {
  while (argument.size() > 1 && argument.ends_with('/')) argument.remove_suffix(1);
  return Fold(TextFromArgument(argument).GetView());
}

}  // namespace

NameSelection::NameSelection(const std::vector<std::string>& arguments) {
  for (const std::string& argument : arguments) rows.push_back(Row{ToName(argument)});
}

bool NameSelection::TakeTree(const Vx::UniString& entry) {
  const Vx::UniString name = Fold(entry.GetView());
  bool taken = false;
  for (Row& row : rows) {
    if (row.name != name && !Larkspan::Archive::IsBelow(name, row.name)) continue;
    row.met = taken = true;
  }
  return taken;
}

bool NameSelection::TakeOnce(const Vx::UniString& entry) {
  const Vx::UniString name = Fold(entry.GetView());
  bool taken = false;
  for (Row& row : rows) {
    if (row.met || row.name != name) continue;
    row.met = taken = true;
  }
  return taken;
}

bool NameSelection::AreAllMet() const noexcept {
  return std::ranges::all_of(rows, &Row::met);
}

void NameSelection::ReportMissing(const std::string& subject, Console& console) const {
  for (const Row& row : rows) {
    if (row.met) continue;
    console.Warn(subject, "no entry named " + ToPrintable(row.name.GetView()));
  }
}

}  // namespace Tool
