#include "tools/larkspan/NameSelection.h"

#include <algorithm>

#include "Larkspan/Archive/EntryName.h"
#include "tools/larkspan/NameFile.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

using Larkspan::Archive::IsBelow;
using Larkspan::Archive::NamePattern;
using Larkspan::Archive::NamePatterns;

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

// Whether the pattern stands for the name, or for a folder above it.
bool MatchesTree(const NamePattern& pattern, Vx::UniString::View name) {
  for (std::size_t slash = name.find(u'/'); slash != name.npos;
       slash = name.find(u'/', slash + 1)) {
    if (pattern.Matches(name.substr(0, slash))) return true;
  }
  return pattern.Matches(name);
}

}  // namespace

NamePatterns MakePatterns(const ExcludeOptions& options) {
  NamePatterns patterns;
  std::vector<std::string> lines;
  AppendNames(options.excludeFrom, false, lines);
  lines.insert(lines.end(), options.exclude.begin(), options.exclude.end());
  for (const std::string& line : lines) patterns.Add(TextFromArgument(line).GetView());
  return patterns;
}

NameSelection::NameSelection(const NameOptions& options) : excluded(MakePatterns(options)) {
  std::vector<std::string> arguments = options.names;
  AppendNames(options.nameFiles, options.null, arguments);
  for (const std::string& argument : arguments) {
    Row row{ToName(argument), std::nullopt};
    if (NamePattern::IsPattern(row.name)) {
      row.pattern.emplace(row.name, NamePattern::Backslash::IsPlain);
    }
    rows.push_back(std::move(row));
  }
}

bool NameSelection::HasPatterns() const noexcept {
  return std::ranges::any_of(rows, [](const Row& row) { return row.pattern.has_value(); });
}

void NameSelection::Note(const Vx::UniString& entry) {
  const Vx::UniString name = Fold(entry.GetView());
  for (Row& row : rows) {
    if (row.name == name || IsBelow(name, row.name)) row.pattern.reset();
  }
}

bool NameSelection::IsExcluded(const Vx::UniString& name, bool isFolder) const {
  return excluded.ExcludesFile(name) || (isFolder && excluded.Excludes(name, true));
}

bool NameSelection::TakeTree(const Vx::UniString& entry, bool isFolder) {
  const Vx::UniString name = Fold(entry.GetView());
  if (IsExcluded(name, isFolder)) return false;
  bool taken = rows.empty();
  for (Row& row : rows) {
    const bool isMeant = row.name == name || IsBelow(name, row.name) ||
                         (row.pattern && MatchesTree(*row.pattern, name));
    if (isMeant) row.met = taken = true;
  }
  return taken;
}

bool NameSelection::TakeOnce(const Vx::UniString& entry) {
  const Vx::UniString name = Fold(entry.GetView());
  if (IsExcluded(name, false)) return false;
  bool isTaken = false;
  for (Row& row : rows) {
    const bool isMeant =
        row.pattern ? row.name == name || row.pattern->Matches(name) : !row.met && row.name == name;
    if (!isMeant) continue;
    row.met = true;
    isTaken = true;
  }
  return isTaken && (!HasPatterns() || takenOnce.insert(name).second);
}

bool NameSelection::AreAllMet() const noexcept {
  return !HasPatterns() && std::ranges::all_of(rows, &Row::met);
}

void NameSelection::ReportMissing(const std::string& subject, Console& console) const {
  for (const Row& row : rows) {
    if (row.met) continue;
    console.Warn(subject, "no entry named " + ToPrintable(row.name.GetView()));
  }
}

}  // namespace Tool
