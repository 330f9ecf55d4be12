#include "tools/larkspan/ExtractCommand.h"

#include <algorithm>
#include <functional>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "Larkspan/Common/IO/EntryLocation.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/Vx/OutOfMemoryException.h"
#include "tools/larkspan/ArchiveReader.h"
#include "tools/larkspan/EntryFacts.h"
#include "tools/larkspan/NameSelection.h"
#include "tools/larkspan/PathArgument.h"
#include "tools/larkspan/TemporaryFile.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

using Archive::ArchiveEntry;

// What lets a program run as somebody else is not taken from an archive.
constexpr unsigned int RestoredModeBits = 0777;
// In a folder, the sticky bit takes rights away.
constexpr unsigned int RestoredFolderBits = 01777;
constexpr unsigned int PrivateMode = 0600;

::IO::Location GetTargetFolder(const std::string& argument) {
  ::IO::Location folder = LocationFromArgument(argument.empty() ? "." : argument);
  const int status = ::IO::fileSystem.CreateFolderTree(folder);
  if (status != 0) throw SystemFailure(ToPrintable(folder), "can't be made", status);
  return folder;
}

class Extraction final {
 public:
  Extraction(const ExtractOptions& given, Console& messages)
      : options(given),
        console(messages),
        selection(given.names),
        reader(given.archive, messages),
        folder(GetTargetFolder(given.folder)) {}

  void Run() {
    MakeFolders();
    for (auto entry = reader.Next(); entry; entry = reader.Next()) {
      if (IsWanted(entry->GetName())) Extract(*entry);
    }
    SetFolderModes();
    selection.ReportMissing(reader.GetSubject(), console);
  }

 private:
  struct EmptyFolder {
    ::IO::Location location;
    bool existed;
    Vx::UniString mode;
  };

  bool IsWanted(const Vx::UniString& name) {
    return selection.IsEmpty() || selection.TakeTree(name);
  }

  ::IO::Location FindLocation(const Vx::UniString& name) {
    ::IO::Location location = LocationFromName(name);
    PresentFailures([&] { Archive::CheckWayToEntry(folder, location); },
                    [&](const VxException& exception) {
                      return LibraryFailure(ExitCode::SystemFailure, ToPrintable(location),
                                            "can't be written", exception);
                    });
    return location;
  }

  ::IO::Location LocationFromName(const Vx::UniString& name) {
    return PresentFailures([&] { return Archive::LocationFromEntryName(folder, name); },
                           [&](const VxException& exception) {
                             return LibraryFailure(
                                 ExitCode::BadArchive, reader.GetSubject(),
                                 "the name " + ToPrintable(name.GetView()) + " is refused",
                                 exception);
                           });
  }

  // All are looked for before the first is made: one that comes into being on the way to another
  // was not there.
  void MakeFolders() {
    for (const auto& [name, value] : reader.GetArchive().EnumerateHeaders()) {
      if (!name.GetView().starts_with(EntryFacts::FolderPrefix)) continue;
      const Vx::UniString path = name.GetSubstring(EntryFacts::FolderPrefix.size());
      if (!IsWanted(path)) continue;
      EmptyFolder row{FindLocation(path), false, value};
      const int status = ::IO::fileSystem.Contains(row.location, &row.existed);
      if (status != 0) throw SystemFailure(ToPrintable(row.location), "can't be looked at", status);
      emptyFolders.push_back(row);
    }
    for (const EmptyFolder& row : emptyFolders) MakeFolder(row);
  }

  void MakeFolder(const EmptyFolder& row) {
    const int status = ::IO::fileSystem.CreateFolderTree(row.location);
    if (status == 0 || (row.existed && options.overwrite == "skip")) return;
    throw SystemFailure(ToPrintable(row.location), "the folder can't be made", status);
  }

  // Last, and from the deepest one upwards: a mode can take away what the work needs.
  void SetFolderModes() {
    const auto depth = [](const EmptyFolder& row) { return row.location.GetLocalLength(); };
    std::ranges::stable_sort(emptyFolders, std::ranges::greater(), depth);
    for (const EmptyFolder& row : emptyFolders) {
      unsigned int mode = 0;
      const bool mayChange = !row.existed || options.overwrite == "always";
      if (!mayChange || !EntryFacts::ModeFromText(row.mode, mode)) continue;
      ::IO::Attributes attributes;
      int status = ::IO::fileSystem.GetAttributes(row.location, &attributes, false);
      attributes.mode = mode & RestoredFolderBits;
      if (status == 0) status = ::IO::fileSystem.SetAttributes(row.location, attributes);
      if (status != 0) WarnOfMode(row.location, status);
    }
  }

  void Extract(const ArchiveEntry& entry) {
    const ::IO::Location location = FindLocation(entry.GetName());
    const bool ownFile = IsOwnFile(location);
    if (!ownFile && !IsFree(location)) return;
    ::IO::Location parent;
    ::IO::Name name;
    if (location.Split(parent, name) != 0) Vx::ThrowOutOfMemory();
    MakeParent(parent);
    TemporaryFile file(parent, ToPrintable(location));
    WriteData(entry, location, file.GetFile());
    const bool replacing = ownFile || options.overwrite == "always";
    file.Complete(name,
                  replacing ? TemporaryFile::Naming::Replacing : TemporaryFile::Naming::IfFree);
  }

  // An archive can have a name twice, and the later entry holds.
  bool IsOwnFile(const ::IO::Location& location) {
    return !written.emplace(location.GetPath()).second;
  }

  // False if a file stands there and stays.
  bool IsFree(const ::IO::Location& location) {
    if (options.overwrite == "always") return true;
    bool found = false;
    const int status = ::IO::fileSystem.Contains(location, &found);
    if (status != 0) throw SystemFailure(ToPrintable(location), "can't be looked at", status);
    if (found && options.overwrite == "fail") {
      throw Failure(ExitCode::SystemFailure, ToPrintable(location),
                    "exists already; --overwrite skip or always says what to do");
    }
    if (found) console.Detail(ToPrintable(location), "exists already, and stays");
    return !found;
  }

  void MakeParent(const ::IO::Location& parent) {
    if (parent == lastParent) return;
    const int status = ::IO::fileSystem.CreateFolderTree(parent);
    if (status != 0) throw SystemFailure(ToPrintable(parent), "can't be made", status);
    lastParent = parent;
  }

  void WriteData(const ArchiveEntry& entry, const ::IO::Location& location, ::IO::File& file) {
    if (EntryFacts::IsPrivate(entry)) MakePrivate(file);
    for (auto chunk = reader.ReadChunk(); !chunk.empty(); chunk = reader.ReadChunk()) {
      const int status =
          file.WriteBin(chunk.data(), static_cast<unsigned int>(chunk.size()), nullptr);
      if (status != 0) throw SystemFailure(ToPrintable(location), "can't be written", status);
    }
    reader.Verify();
    const int status = EntryFacts::RestoreAttributes(entry, RestoredModeBits, file);
    if (status != 0) WarnOfMode(location, status);
  }

  // Nobody reads in the unfinished file what the finished one hides.
  static void MakePrivate(::IO::File& file) {
    ::IO::Attributes attributes;
    if (file.GetAttributes(&attributes) != 0) return;
    attributes.mode = PrivateMode;
    static_cast<void>(file.SetAttributes(attributes));
  }

  void WarnOfMode(const ::IO::Location& location, int status) {
    console.Warn(ToPrintable(location), "mode and time can't be set: " + DescribeStatus(status));
  }

  const ExtractOptions& options;
  Console& console;
  NameSelection selection;
  ArchiveReader reader;
  const ::IO::Location folder;
  ::IO::Location lastParent;
  std::vector<EmptyFolder> emptyFolders;
  std::unordered_set<std::u16string> written;
};

}  // namespace

void RunExtract(const ExtractOptions& options, Console& console) {
  Extraction(options, console).Run();
}

}  // namespace Tool
