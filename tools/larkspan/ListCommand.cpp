#include "tools/larkspan/ListCommand.h"

#include <algorithm>
#include <cstdio>
#include <tuple>

#include "Larkspan/Archive/TreeFacts.h"
#include "tools/larkspan/ArchiveReader.h"
#include "tools/larkspan/JsonOutput.h"
#include "tools/larkspan/NameSelection.h"
#include "tools/larkspan/NameTree.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

namespace TreeFacts = Larkspan::Archive::TreeFacts;
using Archive::ArchiveEntry;

std::string FormatMode(unsigned int mode) {
  return ToPrintable(TreeFacts::ModeToText(mode).GetView());
}

const char* GetMethodName(const ArchiveEntry& entry) noexcept {
  return entry.GetMethod() == ArchiveEntry::Stored ? "stored" : "deflated";
}

// An entry or an empty folder, ready to be printed.
struct Row {
  Vx::UniString name;
  bool isFolder = false;
  unsigned __int64 size = 0;
  ::IO::Attributes time;  // the time of change alone; the beginning of 1970 if it is not known
  std::string facts;      // what stands in front of the name, or all of it for programs
};

class Listing final {
 public:
  Listing(const ListOptions& given, Console& messages)
      : options(given),
        console(messages),
        reader(given.archive, messages),
        selection(given),
        output(given.null),
        isLong(given.longForm) {}

  void Run() {
    try {
      if (selection.HasPatterns()) {
        reader.LookAhead([&](const Vx::UniString& name) { selection.Note(name); });
      }
      ListFolders();
      for (auto entry = reader.Next(); entry; entry = reader.Next()) {
        reader.Leave();
        if (selection.TakeTree(entry->GetName())) Take(MakeRow(*entry));
      }
    } catch (const Failure&) {
      PrintKept();  // what was good until then
      throw;
    }
    PrintKept();
    selection.ReportMissing(reader.GetSubject(), console);
  }

 private:
  void ListFolders() {
    for (const auto& [header, value] : reader.GetArchive().EnumerateHeaders()) {
      if (!header.GetView().starts_with(TreeFacts::FolderPrefix)) continue;
      const Vx::UniString name = header.GetSubstring(TreeFacts::FolderPrefix.size());
      if (selection.TakeTree(name, true)) Take(MakeFolderRow(name, value));
    }
  }

  [[nodiscard]] std::string FormatSize(unsigned __int64 size) const {
    return options.human ? ToHumanSize(size) : std::to_string(size);
  }

  static std::string FormatFacts(const std::string& mode, const std::string& size,
                                 const std::string& archivedSize, const char* method,
                                 const std::string& crc, const std::string& time) {
    char text[160];
    std::snprintf(text, sizeof(text), "%5s %12s %12s %-8s %-8s %-19s ", mode.c_str(), size.c_str(),
                  archivedSize.c_str(), method, crc.c_str(), time.c_str());
    return text;
  }

  static std::string FormatFolderFacts(const std::string& mode, const std::string& time) {
    return FormatFacts(mode, "-", "-", "folder", "-", time);
  }

  [[nodiscard]] Row MakeFolderRow(const Vx::UniString& name, std::u16string_view value) const {
    Row row;
    row.name = name;
    row.isFolder = true;
    TreeFacts::Folder facts;
    const bool known = TreeFacts::FolderFromText(value, facts);
    row.time.modifiedSeconds = facts.modifiedSeconds;
    row.time.modifiedNanoseconds = facts.modifiedNanoseconds;
    if (console.IsJson()) {
      JsonObject object("entry");
      object.PutText("name", name.GetView()).Put("type", "folder");
      if (known) object.Put("mode", facts.mode);
      if (facts.hasTime) object.PutTime(row.time);
      if (facts.hasOwners) {
        object.PutAccount("owner", facts.owner.number, facts.owner.name);
        object.PutAccount("group", facts.group.number, facts.group.name);
      }
      row.facts = object.ToLine();
    } else if (isLong) {
      row.facts = FormatFolderFacts(known ? FormatMode(facts.mode) : "-",
                                    facts.hasTime ? ToCalendar(facts.modifiedSeconds) : "-");
    }
    return row;
  }

  [[nodiscard]] Row MakeRow(const ArchiveEntry& entry) const {
    Row row;
    row.name = entry.GetName();
    row.size = entry.GetSize();
    unsigned int mode = 0;
    const bool hasMode = TreeFacts::ModeFromText(entry.GetHeader(TreeFacts::ModeHeader), mode);
    const bool hasTime = TreeFacts::TimeFromText(entry.GetHeader(TreeFacts::TimeHeader), row.time);
    if (console.IsJson()) {
      JsonObject object("entry");
      const Vx::UniString type = entry.GetHeader(TreeFacts::TypeHeader);
      object.PutText("name", row.name.GetView());
      object.PutText("type", type.IsEmpty() ? Vx::UniString::View(u"file") : type.GetView())
          .Put("size", row.size)
          .Put("archivedSize", entry.GetArchivedSize())
          .Put("method", GetMethodName(entry))
          .Put("crc32", entry.GetCRC());
      if (hasMode) object.Put("mode", mode);
      if (hasTime) object.PutTime(row.time);
      PutAccount("owner", entry.GetHeader(TreeFacts::OwnerHeader), object);
      PutAccount("group", entry.GetHeader(TreeFacts::GroupHeader), object);
      for (const auto& [name, value] : entry.EnumerateHeaders()) {
        if (isLong) object.AddHeader(name.GetView(), value.GetView());
      }
      row.facts = object.ToLine();
    } else if (isLong) {
      char crc[16];
      std::snprintf(crc, sizeof(crc), "%08x", entry.GetCRC());
      row.facts = FormatFacts(hasMode ? FormatMode(mode) : "-", FormatSize(row.size),
                              FormatSize(entry.GetArchivedSize()), GetMethodName(entry), crc,
                              hasTime ? ToCalendar(row.time.modifiedSeconds) : "-");
    }
    return row;
  }

  static void PutAccount(const char* key, const Vx::UniString& header, JsonObject& object) {
    TreeFacts::Account account;
    if (!TreeFacts::AccountFromText(header, account)) return;
    object.PutAccount(key, account.number, account.name);
  }

  void Take(Row row) {
    if (options.tree || options.sort != "none") {
      kept.push_back(std::move(row));
    } else {
      Print(row);
    }
  }

  void Print(const Row& row) {
    if (console.IsJson()) {
      output.Print(row.facts);
    } else {
      output.PrintName(row.facts, row.name.GetView(), row.isFolder ? "/" : "");
    }
  }

  void PrintKept() {
    Sort();
    if (options.tree) {
      DrawTree();
    } else {
      for (const Row& row : kept) Print(row);
    }
    output.Flush();
  }

  // Names from the first one on; the largest and the newest first.
  void Sort() {
    const auto order = [&](const Row& one, const Row& other) {
      if (options.sort == "name") return one.name < other.name;
      if (options.sort == "size") return one.size > other.size;
      return std::tie(one.time.modifiedSeconds, one.time.modifiedNanoseconds) >
             std::tie(other.time.modifiedSeconds, other.time.modifiedNanoseconds);
    };
    if (options.sort != "none") std::ranges::stable_sort(kept, order);
  }

  void DrawTree() {
    NameTree tree;
    for (const Row& row : kept) tree.Add(row.name, row.isFolder, row.facts);
    tree.Draw(isLong ? FormatFolderFacts("-", "-") : std::string(),
              [this](const std::string& line) { output.Print(line); });
  }

  const ListOptions& options;
  Console& console;
  ArchiveReader reader;
  NameSelection selection;
  StandardOutput output;
  const bool isLong;
  std::vector<Row> kept;
};

}  // namespace

void RunList(const ListOptions& options, Console& console) {
  if (options.tree && console.IsJson()) {
    throw Failure(ExitCode::WrongUsage, "list", "takes either --tree or --json");
  }
  if (::IO::IsTerminal(::IO::StandardStream::Output)) console.GetProgress().Disable();
  Listing(options, console).Run();
}

}  // namespace Tool
