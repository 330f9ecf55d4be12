#include "Larkspan/Archive/TreeExtractor.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Larkspan/Archive/EntryName.h"
#include "Larkspan/Archive/LocalAccounts.h"
#include "Larkspan/Archive/SparseOutput.h"
#include "Larkspan/Archive/TargetTree.h"
#include "Larkspan/Archive/TreeFacts.h"
#include "Larkspan/Archive/TreeLinks.h"
#include "Larkspan/Archive/WrittenFiles.h"
#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/EntryLocation.h"
#include "foundation/IO/FolderTree.h"
#include "foundation/IO/NewFile.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/IOException.h"
#include "foundation/Vx/OutOfMemoryException.h"

namespace Larkspan::Archive {
namespace {

using Common::IO::ArchiveEntry;
using Common::IO::ArchiveException;
using ::IO::NewFile;
using Naming = ::IO::Folder::Naming;

// What lets a program run as somebody else is not taken from an archive.
constexpr unsigned int RestoredModeBits = 0777;
// In a folder, the sticky bit takes rights away.
constexpr unsigned int RestoredFolderBits = 01777;
// With its owners, an item comes back as it was.
constexpr unsigned int AllModeBits = 07777;
constexpr unsigned int DefaultFileMode = 0666;
// No system has a longer target of a link, and no archive a longer name of an entry.
constexpr std::size_t LongestLink = 65535;

// Where something is to be made: a name in a folder.
struct Place {
  explicit Place(const ::IO::Location& whole) : location(whole) {
    if (location.Split(parent, name) != 0) Vx::ThrowOutOfMemory();
  }

  ::IO::Location location;
  ::IO::Location parent;
  ::IO::Name name;
};

// The mode that the entry's headers hold, of its bits those in `mask`.
unsigned int GetMode(const ArchiveEntry& entry, unsigned int mask, unsigned int otherwise) {
  unsigned int mode = 0;
  const Vx::UniString text = entry.GetHeader(TreeFacts::ModeHeader);
  return TreeFacts::ModeFromText(text, mode) ? mode & mask : otherwise;
}

// Gives the file, which has the attributes `present`, mode and time that the headers hold.
int SetModeAndTime(const ArchiveEntry& entry, unsigned int mask, const ::IO::Attributes& present,
                   ::IO::File& file) {
  ::IO::Attributes wanted = present;
  wanted.mode = GetMode(entry, mask, present.mode);
  const bool hasTime = TreeFacts::TimeFromText(entry.GetHeader(TreeFacts::TimeHeader), wanted);
  if (wanted.mode != present.mode) return file.SetAttributes(wanted);
  return hasTime ? file.SetTime(wanted) : ::IO::StatusSuccess;
}

const char* Describe(TreeExtractor::Step step) noexcept {
  using Step = TreeExtractor::Step;
  switch (step) {
    case Step::Make:
      return "Failed to make file or folder.";
    case Step::Enter:
      return "Failed to enter folder.";
    case Step::Look:
      return "Failed to look at file or folder.";
    case Step::Write:
      return "Failed to write file.";
    case Step::Sync:
      return "Failed to sync file or folder.";
    case Step::Name:
      return "Failed to name file.";
    case Step::MakeLink:
      return "Failed to make link.";
    case Step::MakeFolder:
      return "Failed to make folder.";
    case Step::Exists:
      break;
  }
  return "File exists already.";
}

const char* Describe(TreeExtractor::Fault fault) noexcept {
  return fault == TreeExtractor::Fault::TooLarge ? "Extracted files exceed the size limit."
                                                 : "Target of link is too long.";
}

}  // namespace

class TreeExtractor::Work final {
 public:
  Work(EntrySource& entries, const ::IO::Location& folder, const Options& given, Watcher& observer)
      : source(entries),
        options(given),
        watcher(observer),
        target(folder, given.sync ? TargetTree::Sync::Yes : TargetTree::Sync::No,
               [this](Step step, const ::IO::Location& location, int status) {
                 Fail(step, location, status);
               }),
        bytesLeft(given.maxSize) {
    // Nothing is asked where all is wanted.
    if (!options.filter && options.stripParts == 0) return;
    source.SetChoice([this](const ArchiveEntry& entry) {
      NoteFolders(entry);
      return IsWanted(entry.GetName()) ? EntrySource::Choice::Take : EntrySource::Choice::Pass;
    });
  }

  void Run() {
    if (options.overwrite == Overwrite::Fail && !target.IsNew()) CheckNamesAreFree();
    MakeFolders();
    for (auto entry = source.Next(); entry; entry = source.Next()) ExtractOrLeave(*entry);
    MakeSymbolicLinks();
    target.Finish();
    SetFolderAttributes();
  }

 private:
  using Feed = std::function<bool(const EntrySource::Take& take)>;

  // A folder whose mode, time and owners the archive tells.
  struct KeptFolder {
    ::IO::Location location;
    bool existed;
    Vx::UniString name;
  };
  struct SymbolicLink {
    Vx::String target;
    ::IO::Attributes attributes;
    bool hasOwner;
    bool hasTime;
  };

  [[noreturn]] void Fail(Step step, const ::IO::Location& location, int status) {
    watcher.OnRefused(step, location, status);
    throw ::IO::WithDetail(Vx::IOException(Describe(step), __FILE__, __LINE__), location, status);
  }

  [[noreturn]] void FailOnExisting(const Place& place) {
    Fail(Step::Exists, place.location, ::IO::StatusAlreadyExists);
  }

  [[noreturn]] void Refuse(Fault fault, const ArchiveEntry& entry) {
    watcher.OnFault(fault, entry.GetName(), nullptr);
    throw ArchiveException(Describe(fault), __FILE__, __LINE__);
  }

  // Returns what `read` returns; its failure is a fault of the entry.
  template <class Read>
  auto Check(Fault fault, const Vx::UniString& name, Read&& read) {
    try {
      return read();
    } catch (const Vx::OutOfMemoryException&) {
      throw;
    } catch (const VxException& exception) {
      watcher.OnFault(fault, name, &exception);
      throw;
    }
  }

  // Whether the work was good, or costs nothing but itself.
  template <class Step>
  bool GoOnIfBad(Step&& step) {
    try {
      step();
      return true;
    } catch (...) {
      if (isFull || !watcher.GoesOn()) throw;
      return false;
    }
  }

  bool IsWanted(const Vx::UniString& name, bool isFolder = false) const {
    const bool isSelected = !options.filter || options.filter(name, isFolder);
    return isSelected && IsLeft(name);
  }

  // Whether something of the name is left without its first parts.
  bool IsLeft(const Vx::UniString& name) const {
    return options.stripParts == 0 || !StripParts(name, options.stripParts).IsEmpty();
  }

  ::IO::Location LocationFromName(const Vx::UniString& name) {
    return Check(Fault::BadName, name, [&] {
      // A name that leads out is refused whole, whatever would be left of it.
      ::IO::Location location = Common::IO::LocationFromEntryName(target.GetLocation(), name);
      if (options.stripParts == 0) return location;
      return Common::IO::LocationFromEntryName(target.GetLocation(),
                                               StripParts(name, options.stripParts));
    });
  }

  // Before anything is made. Names that are refused are told when their turn comes.
  void CheckNamesAreFree() {
    looked = source.LookAhead([this](const Vx::UniString& name) {
      if (!IsWanted(name)) return;
      std::optional<Place> place;
      try {
        place.emplace(Common::IO::LocationFromEntryName(
            target.GetLocation(),
            options.stripParts == 0 ? name : StripParts(name, options.stripParts)));
      } catch (const Vx::OutOfMemoryException&) {
        throw;
      } catch (const VxException&) {
        return;
      }
      const ::IO::Folder* const folder = target.Find(place->parent);
      if (folder != nullptr && Look(*folder, *place)) FailOnExisting(*place);
    });
  }

  // What has the name now; nothing if it is free.
  std::optional<::IO::Attributes> Look(const ::IO::Folder& folder, const Place& place) {
    ::IO::Attributes present;
    const int status = folder.GetAttributes(place.name, &present);
    if (status == ::IO::StatusNotFound) return std::nullopt;
    if (status != 0) Fail(Step::Look, place.location, status);
    return present;
  }

  // All are looked for before the first is made: one that comes into being on the way to another
  // was not there.
  void MakeFolders() {
    for (const auto& [name, value] : source.GetArchive().EnumerateHeaders()) {
      if (!name.GetView().starts_with(TreeFacts::FolderPrefix)) continue;
      const Vx::UniString path = name.GetSubstring(TreeFacts::FolderPrefix.size());
      toldFolders.insert_or_assign(path, value);
      if (IsWanted(path, true)) GoOnIfBad([&] { KeepFolder(path); });
    }
    const std::size_t count = folders.size();
    for (std::size_t i = 0; i < count; ++i) MakeFolder(folders[i]);
  }

  void KeepFolder(const Vx::UniString& name) {
    const Place place(LocationFromName(name));
    folders.push_back(KeptFolder{place.location, ExistedBefore(place), name});
  }

  // What an entry tells of folders, whether or not it is wanted itself: others below may be. What
  // is told last holds: entries that were added later know better.
  void NoteFolders(const ArchiveEntry& entry) {
    for (const auto& [name, value] : entry.EnumerateHeaders()) {
      if (!name.GetView().starts_with(TreeFacts::FolderPrefix)) continue;
      toldFolders.insert_or_assign(name.GetSubstring(TreeFacts::FolderPrefix.size()), value);
    }
  }

  // Before the folders above an entry are made: what is to become of them. From the outermost on,
  // so that nobody looks below one that is missing.
  void KeepFoldersAbove(const Vx::UniString& name) {
    const Vx::UniString::View path = name.GetView();
    std::vector<Vx::UniString> unmet;
    for (std::size_t end = path.rfind(u'/'); end != path.npos && end != 0;
         end = path.rfind(u'/', end - 1)) {
      // Who has met it has met those above it, too.
      Vx::UniString folder(path.substr(0, end));
      if (!metFolders.insert(folder).second) break;
      unmet.push_back(std::move(folder));
    }
    for (; !unmet.empty(); unmet.pop_back()) {
      const auto told = toldFolders.find(unmet.back());
      if (told != toldFolders.end() && IsLeft(told->first)) KeepFolder(told->first);
    }
  }

  // Whether this run has made the folder, so that nothing is in it but what this run has made, and
  // what others put there meanwhile.
  bool IsOurs(const ::IO::Location& folder) const {
    return target.IsNew() || made.contains(folder.GetPath());
  }

  // Whether the folder was there before this run. Notes those that were not.
  bool ExistedBefore(const Place& place) {
    if (IsOurs(place.location)) return false;
    const ::IO::Folder* parent = nullptr;
    if (!IsOurs(place.parent)) parent = target.Find(place.parent);
    if (parent != nullptr) {
      const std::optional<::IO::Attributes> present = Look(*parent, place);
      if (present && present->type == ::IO::EntryType::SymbolicLink) {
        Fail(Step::Write, place.location, ::IO::StatusLinkOnTheWay);
      }
      if (present) return true;
    }
    made.emplace(place.location.GetPath());
    for (::IO::Location level = place.parent; level.IsBelow(target.GetLocation());
         level = level.GetParent()) {
      if (parent != nullptr || IsOurs(level) || target.Find(level) != nullptr) break;
      made.emplace(level.GetPath());
    }
    return false;
  }

  void MakeFolder(const KeptFolder& row) {
    const Place place(row.location);
    const int status = target.Enter(place.parent).MakeFolder(place.name);
    if (status == 0 || (row.existed && options.overwrite == Overwrite::Skip)) return;
    Fail(Step::MakeFolder, row.location, status);
  }

  // Last, and from the deepest one upwards: a mode can take away what the work needs, and what is
  // made in a folder changes its time.
  void SetFolderAttributes() {
    const auto depth = [](const KeptFolder& row) { return row.location.GetLocalLength(); };
    std::ranges::stable_sort(folders, std::ranges::greater(), depth);
    for (const KeptFolder& row : folders) {
      TreeFacts::Folder facts;
      const bool mayChange = !row.existed || options.overwrite == Overwrite::Always;
      if (!mayChange || !TreeFacts::FolderFromText(toldFolders[row.name], facts)) continue;
      ::IO::Attributes attributes = FindPresent(row.location);
      const bool withOwner = options.restoreOwners && accounts.Take(facts, attributes);
      attributes.mode = facts.mode & (withOwner ? AllModeBits : RestoredFolderBits);
      if (facts.hasTime) {
        attributes.modifiedSeconds = facts.modifiedSeconds;
        attributes.modifiedNanoseconds = facts.modifiedNanoseconds;
      }
      const int status = target.SetAttributes(row.location, attributes, withOwner);
      if (status != 0) watcher.OnAttributesLost(row.location, status);
    }
  }

  ::IO::Attributes FindPresent(const ::IO::Location& location) {
    const Place place(location);
    ::IO::Attributes attributes;
    const ::IO::Folder* const parent = target.Find(place.parent);
    if (parent != nullptr) static_cast<void>(parent->GetAttributes(place.name, &attributes));
    return attributes;
  }

  void ExtractOrLeave(const ArchiveEntry& entry) {
    watcher.OnEntry(entry);
    const bool good = GoOnIfBad([&] {
      Extract(entry);
      VerifyRest();
    });
    if (!good) source.Leave();
  }

  void VerifyRest() {
    while (!source.ReadChunk().empty()) {
    }
  }

  void Extract(const ArchiveEntry& entry) {
    const Place place(LocationFromName(entry.GetName()));
    if (NewFile::IsTemporary(place.name)) {
      watcher.OnLeftOut(Reason::UnfinishedName, place.location, {});
      return;
    }
    NoteFolders(entry);
    KeepFoldersAbove(entry.GetName());
    const Vx::UniString type = entry.GetHeader(TreeFacts::TypeHeader);
    if (type == TreeFacts::SymbolicLinkType) {
      KeepSymbolicLink(entry, place);
      return;
    }
    std::optional<::IO::Attributes> present;
    if (!looked && !IsOurs(place.parent)) present = Look(target.Enter(place.parent), place);
    if (present && !MayReplace(*present, place)) return;
    if (!links.empty()) links.erase(place.location.GetPath());  // the later entry holds
    if (type == TreeFacts::HardLinkType) {
      MakeHardLink(entry, place);
    } else {
      WriteFile(entry, place, present.has_value(), [this](const EntrySource::Take& take) {
        for (auto chunk = source.ReadChunk(); !chunk.empty(); chunk = source.ReadChunk()) {
          take(chunk);
        }
        return true;
      });
    }
  }

  // `feed` hands on the data, and is false if there are none after all. Returns what it returns.
  bool WriteFile(const ArchiveEntry& entry, const Place& place, bool isPresent, const Feed& feed) {
    const unsigned int mode = GetMode(entry, RestoredModeBits, DefaultFileMode);
    NewFile file(target.Enter(place.parent), mode);
    if (file.GetStatus() != 0) Fail(Step::Make, place.location, file.GetStatus());
    if (!WriteData(entry, place.location, file.GetFile(), feed)) return false;
    ::IO::Attributes facts;
    const int status = file.GetFile().GetAttributes(&facts);
    if (status != 0) Fail(Step::Name, place.location, status);
    RestoreAttributes(entry, place.location, facts, file.GetFile());
    const bool replaces = isPresent && options.overwrite == Overwrite::Always;
    if (replaces || options.sync) Sync(place.location, file.GetFile());
    if (!NameFile(file, place, isPresent)) return true;
    written.Add(facts);
    watcher.OnItem(entry.GetName());
    return true;
  }

  bool WriteData(const ArchiveEntry& entry, const ::IO::Location& location, ::IO::File& file,
                 const Feed& feed) {
    const bool isSparse = entry.GetHeader(TreeFacts::SparseHeader) == u"1";
    SparseOutput output(file);
    const bool hasData = feed([&](std::string_view chunk) {
      CheckSize(entry, chunk.size());
      const int status =
          isSparse ? output.Write(chunk)
                   : file.WriteBin(chunk.data(), static_cast<unsigned int>(chunk.size()), nullptr);
      if (status != 0) Fail(Step::Write, location, status);
    });
    const int status = isSparse && hasData ? output.Finish() : 0;
    if (status != 0) Fail(Step::Write, location, status);
    return hasData;
  }

  void RestoreAttributes(const ArchiveEntry& entry, const ::IO::Location& location,
                         ::IO::Attributes facts, ::IO::File& file) {
    ::IO::Attributes owners = facts;
    const bool withOwner = TakeOwner(entry, owners);
    const bool isOthers = owners.owner != facts.owner || owners.group != facts.group;
    int status = isOthers ? file.SetOwner(owners) : 0;
    if (status != 0) watcher.OnAttributesLost(location, status);
    const unsigned int bits = withOwner && status == 0 ? AllModeBits : RestoredModeBits;
    if (isOthers && file.GetAttributes(&facts) != 0) facts = owners;
    status = SetModeAndTime(entry, bits, facts, file);
    if (status != 0) watcher.OnAttributesLost(location, status);
  }

  // Whether the entry's owner and group are to be given to its file.
  bool TakeOwner(const ArchiveEntry& entry, ::IO::Attributes& attributes) {
    return options.restoreOwners && accounts.Take(entry, attributes);
  }

  void CheckSize(const ArchiveEntry& entry, std::size_t size) {
    isFull = size > bytesLeft;
    if (isFull) Refuse(Fault::TooLarge, entry);
    bytesLeft -= size;
  }

  void Sync(const ::IO::Location& location, ::IO::File& file) {
    const int status = file.Flush();
    if (status != 0) Fail(Step::Sync, location, status);
  }

  // False if something else keeps the name.
  bool NameFile(NewFile& file, const Place& place, bool isPresent) {
    int status = ::IO::StatusAlreadyExists;
    if (!isPresent) status = file.Complete(place.name, NewFile::Naming::IfFree);
    if (status == ::IO::StatusAlreadyExists) {
      if (!isPresent && !MayReplaceNow(place)) return false;
      // A file that was whole is never replaced by one that a power cut could take.
      if (!isPresent && options.overwrite == Overwrite::Always && !options.sync) {
        Sync(place.location, file.GetFile());
      }
      status = file.Complete(place.name, NewFile::Naming::Replacing);
    }
    if (status != 0) Fail(Step::Name, place.location, status);
    return true;
  }

  // An archive can have a name twice, and the later entry holds.
  bool MayReplace(const ::IO::Attributes& present, const Place& place) {
    if (options.overwrite == Overwrite::Always || written.Contains(present)) return true;
    if (options.overwrite == Overwrite::Fail) FailOnExisting(place);
    watcher.OnLeftOut(Reason::Exists, place.location, {});
    return false;
  }

  // The name was taken when it was to be given: by an entry before, or meanwhile by somebody else.
  bool MayReplaceNow(const Place& place) {
    const std::optional<::IO::Attributes> present = Look(target.Enter(place.parent), place);
    return !present || MayReplace(*present, place);
  }

  // The data of an entry that says where a link leads, which is short.
  std::string ReadLinkData(const ArchiveEntry& entry) {
    std::string data;
    for (auto chunk = source.ReadChunk(); !chunk.empty(); chunk = source.ReadChunk()) {
      data.append(chunk);
      if (data.size() > LongestLink) Refuse(Fault::LongLink, entry);
    }
    return data;
  }

  // Made at the end, so that no file is written by way of it.
  void KeepSymbolicLink(const ArchiveEntry& entry, const Place& place) {
    // The folder is there even if the link is left out.
    static_cast<void>(target.Enter(place.parent));
    const std::string data = ReadLinkData(entry);
    const bool leadsOut = !StaysBelow(NameBelowTarget(place.location).GetView(), data);
    if (leadsOut && !options.makeUnsafeLinks) {
      watcher.OnLeftOut(Reason::LeadsOut, place.location, data);
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
    int status = folder.MakeSymbolicLink(place.name, link.target);
    if (status == ::IO::StatusAlreadyExists) {
      if (!MayReplaceNow(place)) return;
      status = folder.MakeSymbolicLink(place.name, link.target, Naming::Replacing);
    }
    if (status != 0) Fail(Step::MakeLink, place.location, status);
    if (link.hasOwner) status = folder.SetOwner(place.name, link.attributes);
    if (status == 0 && link.hasTime) status = folder.SetTime(place.name, link.attributes);
    if (status != 0) watcher.OnAttributesLost(place.location, status);
  }

  // Only to a file that this run has written. What was left out, or was there before, has its
  // content written instead, and so has a link that the file system refuses.
  void MakeHardLink(const ArchiveEntry& entry, const Place& place) {
    const Vx::UniString name = Check(Fault::BadLink, entry.GetName(), [&] {
      return Vx::UniString(ReadLinkData(entry).c_str(), VxCharCodeUTF);
    });
    if (IsLeft(name) && LinkToFirst(Place(LocationFromName(name)), place)) {
      watcher.OnItem(entry.GetName());
      return;
    }
    const bool isPresent = Look(target.Enter(place.parent), place).has_value();
    if (isPresent && !MayReplaceNow(place)) return;
    const bool isCopied = WriteFile(entry, place, isPresent, [&](const EntrySource::Take& take) {
      return source.CopyEntry(name, take);
    });
    if (!isCopied) watcher.OnLeftOut(Reason::LostSource, place.location, name.ToUTF8());
  }

  // False if there can be no link.
  bool LinkToFirst(const Place& first, const Place& place) {
    if (!linkSources) linkSources.emplace(target.GetLocation());
    ::IO::Folder* from = nullptr;
    ::IO::Attributes attributes;
    const bool isWritten =
        linkSources->Enter(first.parent, ::IO::FolderTree::Missing::Fail, &from) == 0 &&
        from->GetAttributes(first.name, &attributes) == 0 && written.Contains(attributes);
    if (!isWritten) return false;
    const ::IO::Folder& folder = target.Enter(place.parent);
    int status = folder.MakeHardLink(place.name, *from, first.name);
    if (status == ::IO::StatusAlreadyExists) {
      const std::optional<::IO::Attributes> present = Look(folder, place);
      const bool isSame = present && present->IsSameItem(attributes);
      if (isSame || (present && !MayReplace(*present, place))) return true;
      status = folder.MakeHardLink(place.name, *from, first.name, Naming::Replacing);
      if (status == ::IO::StatusIsAFolder) Fail(Step::MakeLink, place.location, status);
    }
    return status == 0;
  }

  EntrySource& source;
  const Options options;
  Watcher& watcher;
  TargetTree target;
  std::vector<KeptFolder> folders;
  std::unordered_set<Vx::UniString> made;  // folders that were not there, by their paths
  std::unordered_map<Vx::UniString, Vx::UniString> toldFolders;  // facts by the name of the folder
  std::unordered_set<Vx::UniString> metFolders;                  // above entries, by their names
  std::optional<::IO::FolderTree> linkSources;
  std::map<Vx::UniString, SymbolicLink> links;  // by their paths
  LocalAccounts accounts;
  WrittenFiles written;
  Vx::UInt64 bytesLeft;
  bool isFull = false;
  bool looked = false;  // whether all names were free before the first file was written
};

TreeExtractor::TreeExtractor(EntrySource& entries, const ::IO::Location& folder,
                             const Options& options, Watcher& watcher)
    : work(std::make_unique<Work>(entries, folder, options, watcher)) {}

TreeExtractor::~TreeExtractor() = default;

void TreeExtractor::Extract() {
  work->Run();
}

}  // namespace Larkspan::Archive
