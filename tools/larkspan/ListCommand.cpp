#include "tools/larkspan/ListCommand.h"

#include <cstdio>

#include "Larkspan/Archive/TreeFacts.h"
#include "tools/larkspan/ArchiveReader.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

namespace TreeFacts = Larkspan::Archive::TreeFacts;

std::string FormatMode(const Vx::UniString& header) {
  unsigned int mode = 0;
  if (!TreeFacts::ModeFromText(header, mode)) return "-";
  return ToPrintable(TreeFacts::ModeToText(mode).GetView());
}

std::string FormatTime(const Vx::UniString& header) {
  ::IO::Attributes attributes;
  if (!TreeFacts::TimeFromText(header, attributes)) return "-";
  return ToCalendar(attributes.modifiedSeconds);
}

std::string FormatFacts(const Archive::ArchiveEntry& entry) {
  char text[160];
  std::snprintf(text, sizeof(text), "%5s %12llu %12llu %-8s %08x %-19s ",
                FormatMode(entry.GetHeader(TreeFacts::ModeHeader)).c_str(), entry.GetSize(),
                entry.GetArchivedSize(),
                entry.GetMethod() == Archive::ArchiveEntry::Stored ? "stored" : "deflated",
                entry.GetCRC(), FormatTime(entry.GetHeader(TreeFacts::TimeHeader)).c_str());
  return text;
}

std::string FormatFolderFacts(const Vx::UniString& mode) {
  char text[160];
  std::snprintf(text, sizeof(text), "%5s %12s %12s %-8s %-8s %-19s ", FormatMode(mode).c_str(), "-",
                "-", "folder", "-", "-");
  return text;
}

void ListFolders(const ArchiveReader& reader, bool longForm, NameSelection& selection,
                 StandardOutput& output) {
  for (const auto& [name, value] : reader.GetArchive().EnumerateHeaders()) {
    if (!name.GetView().starts_with(TreeFacts::FolderPrefix)) continue;
    const Vx::UniString path = name.GetSubstring(TreeFacts::FolderPrefix.size());
    if (!selection.TakeTree(path, true)) continue;
    output.PrintName(longForm ? FormatFolderFacts(value) : std::string(), path.GetView(), "/");
  }
}

}  // namespace

void RunList(const ListOptions& options, Console& console) {
  if (::IO::IsTerminal(::IO::StandardStream::Output)) console.GetProgress().Disable();
  StandardOutput output(options.null);
  NameSelection selection(options);
  try {
    ArchiveReader reader(options.archive, console);
    if (selection.HasPatterns()) {
      reader.LookAhead([&](const Vx::UniString& name) { selection.Note(name); });
    }
    ListFolders(reader, options.longForm, selection, output);
    for (auto entry = reader.Next(); entry; entry = reader.Next()) {
      reader.Leave();
      if (!selection.TakeTree(entry->GetName())) continue;
      output.PrintName(options.longForm ? FormatFacts(*entry) : std::string(),
                       entry->GetName().GetView());
    }
    selection.ReportMissing(reader.GetSubject(), console);
  } catch (const Failure&) {
    output.Flush();  // what was good until then
    throw;
  }
  output.Flush();
}

}  // namespace Tool
