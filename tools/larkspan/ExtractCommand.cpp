#include "tools/larkspan/ExtractCommand.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "Larkspan/Common/IO/EntryLocation.h"
#include "foundation/IO/NewFile.h"
#include "foundation/Vx/OutOfMemoryException.h"
#include "tools/larkspan/ArchiveReader.h"
#include "tools/larkspan/EntryFacts.h"
#include "tools/larkspan/NameSelection.h"
#include "tools/larkspan/PathArgument.h"
#include "tools/larkspan/TargetTree.h"
#include "tools/larkspan/Text.h"
#include "tools/larkspan/WrittenFiles.h"

namespace Tool {
namespace {

using Archive::ArchiveEntry;
using ::IO::NewFile;

// What lets a program run as somebody else is not taken from an archive.
constexpr unsigned int RestoredModeBits = 0777;
// In a folder, the sticky bit takes rights away.
constexpr unsigned int RestoredFolderBits = 01777;

// Where something is to be made: a name in a folder.
struct Place {
  explicit Place(const ::IO::Location& whole) : location(whole) {
    if (location.Split(parent, name) != 0) Vx::ThrowOutOfMemory();
  }

  ::IO::Location location;
  ::IO::Location parent;
  ::IO::Name name;
};

[[noreturn]] void Fail(const ::IO::Location& location, std::string_view action, int status) {
  throw SystemFailure(ToPrintable(location), action, status);
}

// What has the name now; nothing if it is free. No way leads through a link that stands there.
std::optional<::IO::Attributes> Look(const ::IO::Folder& folder, const Place& place) {
  ::IO::Attributes present;
  int status = folder.GetAttributes(place.name, &present);
  if (status == ::IO::StatusNotFound) return std::nullopt;
  if (status != 0) Fail(place.location, "can't be looked at", status);
  if (present.type == ::IO::EntryType::SymbolicLink) {
    Fail(place.location, "can't be written", ::IO::StatusLinkOnTheWay);
  }
  return present;
}

class Extraction final {
 public:
  Extraction(const ExtractOptions& given, Console& messages)
      : options(given),
        console(messages),
        selection(given.names),
        reader(given.archive, messages, given.jobs, given.names.empty() ? ArchiveReader::Choose() : [this](const ArchiveEntry& entry) {
                 return IsWanted(entry.GetName()) ? ArchiveReader::Choice::Take
                                                  : ArchiveReader::Choice::Pass;
               }),
        target(LocationFromArgument(given.folder.empty() ? "." : given.folder),
               given.sync ? TargetTree::Sync::Yes : TargetTree::Sync::No),
        bytesLeft(given.maxSize) {}

  void Run() {
    if (options.overwrite == "fail" && !target.IsNew()) CheckNamesAreFree();
    MakeFolders();
    for (auto entry = reader.Next(); entry; entry = reader.Next()) ExtractOrLeave(*entry);
    target.Finish();
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

  ::IO::Location LocationFromName(const Vx::UniString& name) {
    return PresentFailures(
        [&] { return Archive::LocationFromEntryName(target.GetLocation(), name); },
        [&](const VxException& exception) {
          return LibraryFailure(ExitCode::BadArchive, reader.GetSubject(),
                                "the name " + ToPrintable(name.GetView()) + " is refused",
                                exception);
        });
  }

  // Before anything is made. Names that are refused are told when their turn comes.
  void CheckNamesAreFree() {
    reader.LookAhead([this](const Vx::UniString& name) {
      if (!IsWanted(name)) return;
      std::optional<Place> place;
      try {
        place.emplace(LocationFromName(name));
      } catch (const Failure&) {
        return;
      }
      const ::IO::Folder* const folder = target.Find(place->parent);
      if (folder != nullptr && Look(*folder, *place)) FailOnExisting(*place);
    });
  }

  [[noreturn]] static void FailOnExisting(const Place& place) {
    throw Failure(ExitCode::SystemFailure, ToPrintable(place.location),
                  "exists already; --overwrite skip or always says what to do");
  }

  // All are looked for before the first is made: one that comes into being on the way to another
  // was not there.
  void MakeFolders() {
    for (const auto& [name, value] : reader.GetArchive().EnumerateHeaders()) {
      if (!name.GetView().starts_with(EntryFacts::FolderPrefix)) continue;
      const Vx::UniString path = name.GetSubstring(EntryFacts::FolderPrefix.size());
      if (IsWanted(path)) GoOnIfBad([&, &mode = value] { LookForFolder(path, mode); });
    }
    for (const EmptyFolder& row : emptyFolders) MakeFolder(row);
  }

  void LookForFolder(const Vx::UniString& path, const Vx::UniString& mode) {
    const Place place(LocationFromName(path));
    const ::IO::Folder* const parent = target.Find(place.parent);
    const bool existed = parent != nullptr && Look(*parent, place);
    emptyFolders.push_back(EmptyFolder{place.location, existed, mode});
  }

  void MakeFolder(const EmptyFolder& row) {
    const Place place(row.location);
    const int status = target.Enter(place.parent).MakeFolder(place.name);
    if (status == 0 || (row.existed && options.overwrite == "skip")) return;
    Fail(row.location, "the folder can't be made", status);
  }

  // Last, and from the deepest one upwards: a mode can take away what the work needs.
  void SetFolderModes() {
    const auto depth = [](const EmptyFolder& row) { return row.location.GetLocalLength(); };
    std::ranges::stable_sort(emptyFolders, std::ranges::greater(), depth);
    for (const EmptyFolder& row : emptyFolders) {
      unsigned int mode = 0;
      const bool mayChange = !row.existed || options.overwrite == "always";
      if (!mayChange || !EntryFacts::ModeFromText(row.mode, mode)) continue;
      const int status = target.SetMode(row.location, mode & RestoredFolderBits);
      if (status != 0) WarnOfMode(row.location, status);
    }
  }

  // With --keep-going, what is bad costs nothing but itself. Whether it was good.
  template <class Work>
  bool GoOnIfBad(Work&& work) {
    try {
      work();
      return true;
    } catch (const Failure& failure) {
      const bool bad = failure.GetExitCode() == ExitCode::BadArchive;
      if (!options.keepGoing || !bad || tooLarge) throw;
      console.Report(failure);
      return false;
    }
  }

  void ExtractOrLeave(const ArchiveEntry& entry) {
    const bool good = GoOnIfBad([&] {
      Extract(entry);
      reader.Verify();
    });
    if (!good) reader.Leave();
  }

  void Extract(const ArchiveEntry& entry) {
    const Place place(LocationFromName(entry.GetName()));
    if (NewFile::IsTemporary(place.name)) {
      console.Warn(ToPrintable(place.location), "left out: the name is one of unfinished files");
      return;
    }
    const ::IO::Folder& folder = target.Enter(place.parent);
    const std::optional<::IO::Attributes> present = Look(folder, place);
    if (present && !MayReplace(*present, place)) return;
    const bool isPrivate = EntryFacts::IsPrivate(entry);
    NewFile file(folder, isPrivate ? NewFile::Access::Private : NewFile::Access::Ordinary);
    if (file.GetStatus() != 0) Fail(place.location, "can't be made", file.GetStatus());
    WriteData(entry, place.location, file.GetFile());
    const bool replacing = present && options.overwrite == "always";
    if (replacing || options.sync) Sync(place.location, file.GetFile());
    NameFile(file, place, present ? NewFile::Naming::Replacing : NewFile::Naming::IfFree);
    console.ShowItem(entry.GetName().GetView());
  }

  // An archive can have a name twice, and the later entry holds.
  bool MayReplace(const ::IO::Attributes& present, const Place& place) {
    if (options.overwrite == "always" || written.Contains(present)) return true;
    if (options.overwrite == "fail") FailOnExisting(place);
    console.Detail(ToPrintable(place.location), "exists already, and stays");
    return false;
  }

  void WriteData(const ArchiveEntry& entry, const ::IO::Location& location, ::IO::File& file) {
    for (auto chunk = reader.ReadChunk(); !chunk.empty(); chunk = reader.ReadChunk()) {
      CheckSize(entry, chunk.size());
      const int status =
          file.WriteBin(chunk.data(), static_cast<unsigned int>(chunk.size()), nullptr);
      if (status != 0) Fail(location, "can't be written", status);
    }
    reader.Verify();
    const int status = EntryFacts::RestoreAttributes(entry, RestoredModeBits, file);
    if (status != 0) WarnOfMode(location, status);
  }

  void CheckSize(const ArchiveEntry& entry, std::size_t size) {
    tooLarge = size > bytesLeft;
    if (!tooLarge) {
      bytesLeft -= size;
      return;
    }
    throw Failure(ExitCode::BadArchive, reader.GetSubject(),
                  "entry " + ToPrintable(entry.GetName().GetView()) +
                      ": the files are larger than the " + std::to_string(options.maxSize) +
                      " bytes that --max-size allows");
  }

  static void Sync(const ::IO::Location& location, ::IO::File& file) {
    const int status = file.Flush();
    if (status != 0) Fail(location, "can't be synced", status);
  }

  // Something that came to have the name meanwhile stays, unless everything is overwritten.
  void NameFile(NewFile& file, const Place& place, NewFile::Naming naming) {
    ::IO::Attributes facts;
    int status = file.GetFile().GetAttributes(&facts);
    if (status == 0) status = file.Complete(place.name, naming);
    if (status == ::IO::StatusAlreadyExists && options.overwrite == "always") {
      Sync(place.location, file.GetFile());
      status = file.Complete(place.name, NewFile::Naming::Replacing);
    }
    if (status != 0) Fail(place.location, "can't be given its name", status);
    if (options.overwrite != "always") written.Add(facts);
  }

  void WarnOfMode(const ::IO::Location& location, int status) {
    console.Warn(ToPrintable(location), "mode and time can't be set: " + DescribeStatus(status));
  }

  const ExtractOptions& options;
  Console& console;
  NameSelection selection;
  ArchiveReader reader;
  TargetTree target;
  std::vector<EmptyFolder> emptyFolders;
  WrittenFiles written;
  unsigned __int64 bytesLeft;
  bool tooLarge = false;
};

}  // namespace

void RunExtract(const ExtractOptions& options, Console& console) {
  Extraction(options, console).Run();
}

}  // namespace Tool
