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

void ListFolders(const ArchiveReader& reader, bool longForm, StandardOutput& output) {
  for (const auto& [name, value] : reader.GetArchive().EnumerateHeaders()) {
    if (!name.GetView().starts_with(TreeFacts::FolderPrefix)) continue;
    const std::string facts = longForm ? FormatFolderFacts(value) : std::string();
    output.Print(facts + ToPrintable(name.GetView().substr(TreeFacts::FolderPrefix.size())) +
                 "/\n");
  }
}

}  // namespace

void RunList(const ListOptions& options, Console& console) {
  if (::IO::IsTerminal(::IO::StandardStream::Output)) console.GetProgress().Disable();
  StandardOutput output;
  try {
    ArchiveReader reader(options.archive, console);
    ListFolders(reader, options.longForm, output);
    for (auto entry = reader.Next(); entry; entry = reader.Next()) {
      reader.Leave();
      const std::string facts = options.longForm ? FormatFacts(*entry) : std::string();
      output.Print(facts + ToPrintable(entry->GetName().GetView()) + "\n");
    }
  } catch (const Failure&) {
    output.Flush();  // what was good until then
    throw;
  }
  output.Flush();
}

}  // namespace Tool
