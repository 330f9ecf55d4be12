#include "tools/larkspan/ExtractCommand.h"

#include <algorithm>
#include <functional>
#include <map>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Larkspan/Archive/SparseOutput.h"
#include "Larkspan/Archive/TreeFacts.h"
#include "Larkspan/Archive/TreeLinks.h"
#include "Larkspan/Common/IO/EntryLocation.h"
#include "foundation/IO/Accounts.h"
#include "foundation/IO/FolderTree.h"
#include "foundation/IO/NewFile.h"
#include "foundation/Vx/OutOfMemoryException.h"
#include "tools/larkspan/ArchiveReader.h"
#include "tools/larkspan/NameSelection.h"
#include "tools/larkspan/PathArgument.h"
#include "tools/larkspan/TargetTree.h"
#include "tools/larkspan/Text.h"
#include "tools/larkspan/WrittenFiles.h"

namespace Tool {
namespace {

namespace TreeFacts = Larkspan::Archive::TreeFacts;

using Archive::ArchiveEntry;
using ::IO::NewFile;

// What lets a program run as somebody else is not taken from an archive.
constexpr unsigned int RestoredModeBits = 0777;
// In a folder, the sticky bit takes rights away.
constexpr unsigned int RestoredFolderBits = 01777;
// With its owners, an item comes back as it was.
constexpr unsigned int AllModeBits = 07777;
// No system has a longer target of a link, and no archive a longer name of an entry.
constexpr std::size_t LongestLink = 65535;
constexpr unsigned int CopyStep = 0x10000;

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

// The numbers that accounts of an archive have on this system, each looked up once: by its name,
// else as it is.
class LocalAccounts final {
 public:
  [[nodiscard]] unsigned int FindUser(const TreeFacts::Account& account) {
    return Find(users, account, ::IO::FindUser);
  }
  [[nodiscard]] unsigned int FindGroup(const TreeFacts::Account& account) {
    return Find(groups, account, ::IO::FindGroup);
  }

 private:
  using Known = std::map<Vx::UniString, unsigned int>;

  static unsigned int Find(Known& known, const TreeFacts::Account& account,
                           int (*find)(const Vx::String&, unsigned int*)) {
    if (account.name.IsEmpty()) return account.number;
    const auto [place, isNew] = known.try_emplace(account.name, account.number);
    if (isNew) {
      unsigned int number = 0;
      if (find(Vx::String(account.name.ToUTF8()), &number) == 0) place->second = number;
    }
    return place->second;
  }

  Known users;
  Known groups;
};

// The name without its first `count` parts; empty if no more is left.
Vx::UniString StripParts(const Vx::UniString& name, unsigned int count) {
  constexpr std::u16string_view separators = u"/\\";
  std::u16string_view rest = name.GetView();
  while (count-- > 0 && !rest.empty()) {
    rest.remove_prefix(std::min(rest.find_first_not_of(separators), rest.size()));
    rest.remove_prefix(std::min(rest.find_first_of(separators), rest.size()));
    rest.remove_prefix(std::min(rest.find_first_not_of(separators), rest.size()));
  }
  return Vx::UniString(rest);
}

class Extraction final {
 public:
  Extraction(const ExtractOptions& given, Console& messages)
      : options(given),
        console(messages),
        selection(given.names),
        reader(given.archive, messages, given.jobs, MakeChoice()),
        target(LocationFromArgument(given.folder.empty() ? "." : given.folder),
               given.sync ? TargetTree::Sync::Yes : TargetTree::Sync::No),
        bytesLeft(given.maxSize) {}

  void Run() {
    if (options.overwrite == "fail" && !target.IsNew()) CheckNamesAreFree();
    MakeFolders();
    for (auto entry = reader.Next(); entry; entry = reader.Next()) ExtractOrLeave(*entry);
    MakeSymbolicLinks();
    target.Finish();
    SetFolderAttributes();
    selection.ReportMissing(reader.GetSubject(), console);
  }

 private:
  // A folder whose mode, time and owners the archive tells.
  struct KeptFolder {
    ::IO::Location location;
    bool existed;
    Vx::UniString facts;
  };
  struct SymbolicLink {
    Vx::String target;
    ::IO::Attributes attributes;
    bool hasOwner;
    bool hasTime;
  };

  // Nothing is asked where all is wanted.
  ArchiveReader::Choose MakeChoice() {
    if (selection.IsEmpty() && options.stripComponents == 0) return {};
    return [this](const ArchiveEntry& entry) {
      NoteFolders(entry);
      return IsWanted(entry.GetName()) ? ArchiveReader::Choice::Take : ArchiveReader::Choice::Pass;
    };
  }

  bool IsWanted(const Vx::UniString& name) {
    const bool isSelected = selection.IsEmpty() || selection.TakeTree(name);
    return isSelected && IsLeft(name);
  }

  // Whether --strip-components leaves something of the name.
  bool IsLeft(const Vx::UniString& name) const {
    return options.stripComponents == 0 || !StripParts(name, options.stripComponents).IsEmpty();
  }

  ::IO::Location LocationFromName(const Vx::UniString& name) {
    return PresentFailures(
        [&] {
          // A name that leads out is refused whole, whatever would be left of it.
          ::IO::Location location = Archive::LocationFromEntryName(target.GetLocation(), name);
          if (options.stripComponents == 0) return location;
          return Archive::LocationFromEntryName(target.GetLocation(),
                                                StripParts(name, options.stripComponents));
        },
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
      if (!name.GetView().starts_with(TreeFacts::FolderPrefix)) continue;
      const Vx::UniString path = name.GetSubstring(TreeFacts::FolderPrefix.size());
      if (IsWanted(path)) GoOnIfBad([&, &facts = value] { KeepFolder(path, facts); });
    }
    const std::size_t count = folders.size();
    for (std::size_t i = 0; i < count; ++i) MakeFolder(folders[i]);
  }

  void KeepFolder(const Vx::UniString& path, const Vx::UniString& facts) {
    const Place place(LocationFromName(path));
    folders.push_back(KeptFolder{place.location, ExistedBefore(place), facts});
  }

  // What an entry tells of folders, whether or not it is wanted itself: others below may be.
  void NoteFolders(const ArchiveEntry& entry) {
    for (const auto& [name, value] : entry.EnumerateHeaders()) {
      if (!name.GetView().starts_with(TreeFacts::FolderPrefix)) continue;
      toldFolders.insert_or_assign(name.GetSubstring(TreeFacts::FolderPrefix.size()), value);
    }
  }

  // Before the folders above an entry are made: what is to become of them.
  void KeepFoldersAbove(const Vx::UniString& name) {
    const Vx::UniString::View path = name.GetView();
    for (std::size_t end = path.rfind(u'/'); end != path.npos && end != 0;
         end = path.rfind(u'/', end - 1)) {
      const Vx::UniString folder(path.substr(0, end));
      // Who has met it has met those above it, too.
      if (!metFolders.insert(folder).second) return;
      const auto told = toldFolders.find(folder);
      if (told != toldFolders.end() && IsLeft(folder)) KeepFolder(folder, told->second);
    }
  }

  // Whether the folder was there before this run. Notes those that were not.
  bool ExistedBefore(const Place& place) {
    if (made.contains(place.location.GetPath())) return false;
    const ::IO::Folder* const parent = target.Find(place.parent);
    if (parent != nullptr && Look(*parent, place)) return true;
    for (::IO::Location level = place.location; level.IsBelow(target.GetLocation());
         level = level.GetParent()) {
      if (target.Find(level) != nullptr || !made.emplace(level.GetPath()).second) break;
    }
    return false;
  }

  void MakeFolder(const KeptFolder& row) {
    const Place place(row.location);
    const int status = target.Enter(place.parent).MakeFolder(place.name);
    if (status == 0 || (row.existed && options.overwrite == "skip")) return;
    Fail(row.location, "the folder can't be made", status);
  }

  // Last, and from the deepest one upwards: a mode can take away what the work needs, and what is
  // made in a folder changes its time.
  void SetFolderAttributes() {
    const auto depth = [](const KeptFolder& row) { return row.location.GetLocalLength(); };
    std::ranges::stable_sort(folders, std::ranges::greater(), depth);
    for (const KeptFolder& row : folders) {
      TreeFacts::Folder facts;
      const bool mayChange = !row.existed || options.overwrite == "always";
      if (!mayChange || !TreeFacts::FolderFromText(row.facts, facts)) continue;
      ::IO::Attributes attributes = FindPresent(row.location);
      const bool withOwner = KeepsOwner() && facts.hasOwners;
      attributes.mode = facts.mode & (withOwner ? AllModeBits : RestoredFolderBits);
      if (facts.hasTime) {
        attributes.modifiedSeconds = facts.modifiedSeconds;
        attributes.modifiedNanoseconds = facts.modifiedNanoseconds;
      }
      if (withOwner) {
        attributes.owner = accounts.FindUser(facts.owner);
        attributes.group = accounts.FindGroup(facts.group);
      }
      const int status = target.SetAttributes(row.location, attributes, withOwner);
      if (status != 0) WarnOfMode(row.location, status);
    }
  }

  ::IO::Attributes FindPresent(const ::IO::Location& location) {
    const Place place(location);
    ::IO::Attributes attributes;
    const ::IO::Folder* const parent = target.Find(place.parent);
    if (parent != nullptr) static_cast<void>(parent->GetAttributes(place.name, &attributes));
    return attributes;
  }

  [[nodiscard]] bool KeepsOwner() const { return options.sameOwner && !options.noSameOwner; }

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
    NoteFolders(entry);
    KeepFoldersAbove(entry.GetName());
    const Vx::UniString type = entry.GetHeader(TreeFacts::TypeHeader);
    if (type == TreeFacts::SymbolicLinkType) {
      KeepSymbolicLink(entry, place);
      return;
    }
    const ::IO::Folder& folder = target.Enter(place.parent);
    const std::optional<::IO::Attributes> present = Look(folder, place);
    if (present && !MayReplace(*present, place)) return;
    links.erase(place.location.GetPath());  // the later entry holds
    if (type == TreeFacts::HardLinkType) {
      MakeHardLink(entry, place, present.has_value());
    } else {
      WriteFile(entry, place, present.has_value(), [this] { return reader.ReadChunk(); });
    }
  }

  // `read` returns the data piece by piece, and an empty piece at its end.
  void WriteFile(const ArchiveEntry& entry, const Place& place, bool isPresent,
                 const std::function<std::string_view()>& read) {
    const bool isPrivate = TreeFacts::IsPrivate(entry);
    NewFile file(target.Enter(place.parent),
                 isPrivate ? NewFile::Access::Private : NewFile::Access::Ordinary);
    if (file.GetStatus() != 0) Fail(place.location, "can't be made", file.GetStatus());
    WriteData(entry, place.location, file.GetFile(), read);
    const bool replacing = isPresent && options.overwrite == "always";
    if (replacing || options.sync) Sync(place.location, file.GetFile());
    NameFile(file, place, isPresent ? NewFile::Naming::Replacing : NewFile::Naming::IfFree);
    console.ShowItem(entry.GetName().GetView());
  }

  // The data of an entry that says where a link leads, which is short.
  std::string ReadLinkData(const ArchiveEntry& entry) {
    std::string data;
    for (auto chunk = reader.ReadChunk(); !chunk.empty(); chunk = reader.ReadChunk()) {
      data.append(chunk);
      if (data.size() <= LongestLink) continue;
      throw Failure(ExitCode::BadArchive, reader.GetSubject(),
                    "entry " + ToPrintable(entry.GetName().GetView()) +
                        ": no link has a target of that length");
    }
    reader.Verify();
    return data;
  }

  // Made at the end, so that no file is written by way of it.
  void KeepSymbolicLink(const ArchiveEntry& entry, const Place& place) {
    // The folder is there even if the link is left out.
    static_cast<void>(target.Enter(place.parent));
    const std::string data = ReadLinkData(entry);
    const bool leadsOut =
        !Larkspan::Archive::StaysBelow(NameBelowTarget(place.location).GetView(), data);
    if (leadsOut && !options.unsafeLinks) {
      console.Warn(ToPrintable(place.location),
                   "left out: a link that may lead out of the target folder, to " +
                       ToPrintable(std::string_view(data)) + "; --unsafe-links makes it");
      return;
    }
    SymbolicLink link{Vx::String(data), {}, false, false};
    link.hasTime = TreeFacts::TimeFromText(entry.GetHeader(TreeFacts::TimeHeader), link.attributes);
    link.hasOwner = TakeOwner(entry, link.attributes);
    links.insert_or_assign(Vx::UniString(place.location.GetPath()), std::move(link));
  }

  // With `/` between its parts.
  Vx::UniString NameBelowTarget(const ::IO::Location& location) const {
    Vx::UniString name(location.GetPath().substr(target.GetLocation().GetPath().size()));
    name.ReplaceAll(u'\\', u'/');
    return name;
  }

  void MakeSymbolicLinks() {
    for (const auto& [path, link] : links) {
      GoOnIfBad([&, &linkPath = path, &wanted = link] {
        MakeSymbolicLink(Place(::IO::Location(linkPath.GetView())), wanted);
      });
    }
  }

  void MakeSymbolicLink(const Place& place, const SymbolicLink& link) {
    const ::IO::Folder& folder = target.Enter(place.parent);
    ::IO::Attributes present;
    int status = folder.GetAttributes(place.name, &present);
    if (status == 0) {
      if (!MayReplace(present, place)) return;
      const bool isFolder = present.type == ::IO::EntryType::Folder;
      status = isFolder ? ::IO::StatusIsAFolder : folder.Delete(place.name);
      if (status != 0) Fail(place.location, "can't be replaced", status);
    }
    status = folder.MakeSymbolicLink(place.name, link.target);
    if (status != 0) Fail(place.location, "the link can't be made", status);
    if (link.hasOwner) status = folder.SetOwner(place.name, link.attributes);
    if (status == 0 && link.hasTime) status = folder.SetTime(place.name, link.attributes);
    if (status != 0) WarnOfMode(place.location, status);
  }

  // Only to a file that this run has written. What was left out, or was there before, has its
  // content written instead.
  void MakeHardLink(const ArchiveEntry& entry, const Place& place, bool isPresent) {
    const Vx::UniString name = PresentFailures(
        [&] {
          const std::string data = ReadLinkData(entry);
          return Vx::UniString(data.c_str(), VxCharCodeUTF);
        },
        [&](const VxException& exception) {
          return LibraryFailure(
              ExitCode::BadArchive, reader.GetSubject(),
              "entry " + ToPrintable(entry.GetName().GetView()) + ": it is no link to an entry",
              exception);
        });
    if (!IsLeft(name)) {
      CopyLinked(entry, name, place, isPresent);
      return;
    }
    const Place first(LocationFromName(name));
    if (!linkSources) linkSources.emplace(target.GetLocation());
    ::IO::Folder* source = nullptr;
    ::IO::Attributes attributes;
    const bool isWritten =
        linkSources->Enter(first.parent, ::IO::FolderTree::Missing::Fail, &source) == 0 &&
        source->GetAttributes(first.name, &attributes) == 0 && written.Contains(attributes);
    if (!isWritten) {
      CopyLinked(entry, name, place, isPresent);
      return;
    }
    const ::IO::Folder& folder = target.Enter(place.parent);
    int status = isPresent ? RemoveUnlessSame(folder, place, attributes) : 0;
    if (status == ::IO::StatusAlreadyExists) return;
    if (status == 0) status = folder.MakeHardLink(place.name, *source, first.name);
    if (status != 0) Fail(place.location, "the link can't be made", status);
  }

  // Makes way for a link to the file. `StatusAlreadyExists` if the name is one of that file, whose
  // only one it may be.
  static int RemoveUnlessSame(const ::IO::Folder& folder, const Place& place,
                              const ::IO::Attributes& file) {
    ::IO::Attributes present;
    const int status = folder.GetAttributes(place.name, &present);
    if (status != 0) return status;
    if (present.IsSameItem(file)) return ::IO::StatusAlreadyExists;
    if (present.type == ::IO::EntryType::Folder) return ::IO::StatusIsAFolder;
    return folder.Delete(place.name);
  }

  void CopyLinked(const ArchiveEntry& entry, const Vx::UniString& name, const Place& place,
                  bool isPresent) {
    const Vx::IBinaryChannelRef content = reader.OpenEntry(name);
    if (content.IsEmpty()) {
      console.Warn(
          ToPrintable(place.location),
          "left out: another name of " + ToPrintable(name.GetView()) + ", which was not extracted");
      return;
    }
    const Vx::ByteArray buffer = Vx::NewByteArray(CopyStep);
    WriteFile(entry, place, isPresent, [&] {
      return std::string_view(buffer.get(), reader.ReadFrom(*content, buffer.get(), CopyStep));
    });
  }

  // An archive can have a name twice, and the later entry holds.
  bool MayReplace(const ::IO::Attributes& present, const Place& place) {
    if (options.overwrite == "always" || written.Contains(present)) return true;
    if (options.overwrite == "fail") FailOnExisting(place);
    console.Detail(ToPrintable(place.location), "exists already, and stays");
    return false;
  }

  void WriteData(const ArchiveEntry& entry, const ::IO::Location& location, ::IO::File& file,
                 const std::function<std::string_view()>& read) {
    const bool isSparse = entry.GetHeader(TreeFacts::SparseHeader) == u"1";
    Larkspan::Archive::SparseOutput output(file);
    for (auto chunk = read(); !chunk.empty(); chunk = read()) {
      CheckSize(entry, chunk.size());
      const int status =
          isSparse ? output.Write(chunk)
                   : file.WriteBin(chunk.data(), static_cast<unsigned int>(chunk.size()), nullptr);
      if (status != 0) Fail(location, "can't be written", status);
    }
    if (const int status = isSparse ? output.Finish() : 0; status != 0) {
      Fail(location, "can't be written", status);
    }
    reader.Verify();
    ::IO::Attributes owners;
    const bool withOwner = TakeOwner(entry, owners);
    int status = withOwner ? file.SetOwner(owners) : 0;
    const unsigned int bits = withOwner && status == 0 ? AllModeBits : RestoredModeBits;
    if (status != 0) WarnOfMode(location, status);
    status = TreeFacts::RestoreAttributes(entry, bits, file);
    if (status != 0) WarnOfMode(location, status);
  }

  // Whether the entry's owner and group are to be given to its file.
  bool TakeOwner(const ArchiveEntry& entry, ::IO::Attributes& attributes) {
    TreeFacts::Account owner;
    TreeFacts::Account group;
    if (!KeepsOwner() ||
        !TreeFacts::AccountFromText(entry.GetHeader(TreeFacts::OwnerHeader), owner) ||
        !TreeFacts::AccountFromText(entry.GetHeader(TreeFacts::GroupHeader), group)) {
      return false;
    }
    attributes.owner = accounts.FindUser(owner);
    attributes.group = accounts.FindGroup(group);
    return true;
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
    written.Add(facts);
  }

  void WarnOfMode(const ::IO::Location& location, int status) {
    console.Warn(ToPrintable(location), "mode and time can't be set: " + DescribeStatus(status));
  }

  const ExtractOptions& options;
  Console& console;
  NameSelection selection;
  ArchiveReader reader;
  TargetTree target;
  std::vector<KeptFolder> folders;
  std::unordered_set<Vx::UniString> made;  // folders that were not there, by their paths
  std::unordered_map<Vx::UniString, Vx::UniString> toldFolders;  // facts by the name of the folder
  std::unordered_set<Vx::UniString> metFolders;                  // above entries, by their names
  std::optional<::IO::FolderTree> linkSources;
  std::map<Vx::UniString, SymbolicLink> links;  // by their paths
  LocalAccounts accounts;
  WrittenFiles written;
  unsigned __int64 bytesLeft;
  bool tooLarge = false;
};

}  // namespace

void RunExtract(const ExtractOptions& options, Console& console) {
  Extraction(options, console).Run();
}

}  // namespace Tool
