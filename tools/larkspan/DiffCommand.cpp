#include "tools/larkspan/DiffCommand.h"

#include <algorithm>
#include <vector>

#include "Larkspan/Archive/EntryName.h"
#include "Larkspan/Archive/LocalAccounts.h"
#include "Larkspan/Archive/TreeFacts.h"
#include "Larkspan/Common/IO/EntryLocation.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/IO/Folder.h"
#include "foundation/IO/NewFile.h"
#include "foundation/Vx/ConversionErrorException.h"
#include "foundation/Vx/OutOfMemoryException.h"
#include "tools/larkspan/ArchiveReader.h"
#include "tools/larkspan/InputFile.h"
#include "tools/larkspan/Interruption.h"
#include "tools/larkspan/JsonOutput.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/PathArgument.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

namespace TreeFacts = Larkspan::Archive::TreeFacts;
using Archive::ArchiveEntry;
using ::IO::Attributes;
using ::IO::EntryType;
using Choice = ArchiveReader::Choice;

// What is known of a name, and how the tree differs there.
constexpr unsigned int IsFolder = 1;
constexpr unsigned int Added = 2;
constexpr unsigned int Removed = 4;
constexpr unsigned int Type = 8;
constexpr unsigned int Content = 16;
constexpr unsigned int Mode = 32;
constexpr unsigned int Time = 64;
constexpr unsigned int Target = 128;
// Folders: the archive keeps facts of it, or has a file right in it.
constexpr unsigned int HasFacts = 256;
constexpr unsigned int HasFile = 512;
constexpr unsigned int Owner = 1024;
constexpr unsigned int AnyDifference = ~(IsFolder | HasFacts | HasFile);

const char* GetChange(unsigned int facts) {
  if ((facts & Added) != 0) return "added";
  return (facts & Removed) != 0 ? "removed" : "changed";
}

// What changed; nothing of what was added or removed.
std::vector<std::string> ListDifferences(unsigned int facts) {
  constexpr std::pair<unsigned int, const char*> words[] = {
      {Type, "type"}, {Content, "content"}, {Mode, "mode"},
      {Time, "time"}, {Target, "target"},   {Owner, "owner"}};
  std::vector<std::string> list;
  if ((facts & (Added | Removed)) != 0) return list;
  for (const auto& [bit, word] : words) {
    if ((facts & bit) != 0) list.emplace_back(word);
  }
  return list;
}

std::string Describe(unsigned int facts) {
  std::string text = GetChange(facts);
  const char* separator = " ";
  for (const std::string& word : ListDifferences(facts)) {
    text += separator + word;
    separator = ",";
  }
  return text;
}

std::string ToJson(const Vx::UniString& name, unsigned int facts) {
  JsonObject object("difference");
  object.PutText("name", name.GetView())
      .Put("isFolder", (facts & IsFolder) != 0)
      .Put("change", GetChange(facts));
  const std::vector<std::string> differences = ListDifferences(facts);
  if (!differences.empty()) object.Put("differences", differences);
  return object.ToLine();
}

class Comparison final {
 public:
  Comparison(const DiffOptions& given, Console& messages)
      : options(given),
        console(messages),
        root(LocationFromArgument(given.folder.empty() ? "." : given.folder)),
        reader(given.archive, messages, given.jobs,
               [this](const ArchiveEntry& entry) { return Choose(entry); }) {
    Attributes attributes;
    if (::IO::fileSystem.GetAttributes(root, &attributes, true) != 0 ||
        attributes.type != EntryType::Folder) {
      throw Failure(ExitCode::SystemFailure, ToPrintable(root), "is not a folder");
    }
    if (options.archive == "-") return;
    static_cast<void>(
        ::IO::fileSystem.GetAttributes(LocationFromArgument(options.archive), &archiveFile, true));
  }

  void Run() {
    for (const auto& [name, value] : reader.GetArchive().EnumerateHeaders()) {
      NoteFolder(name, value);
    }
    for (auto entry = reader.Next(); entry; entry = reader.Next()) CompareData(*entry);
    FindAdded();
    Print();
  }

 private:
  using Facts = Vx::HashTable<Vx::UniString, unsigned int>;

  // Where the entry of that name is in the tree; an invalid location for one that can't be there.
  [[nodiscard]] ::IO::Location Locate(const Vx::UniString& name) const {
    return PresentFailures([&] { return Archive::LocationFromEntryName(root, name); },
                           [&](const VxException& exception) {
                             return LibraryFailure(
                                 ExitCode::BadArchive, reader.GetSubject(),
                                 "the name " + ToPrintable(name.GetView()) + " is refused",
                                 exception);
                           });
  }

  // The path below the root, in the way of names of entries.
  [[nodiscard]] Vx::UniString GetPath(const ::IO::Location& location) const {
    std::u16string_view path = location.GetPath();
    path.remove_prefix(std::min(path.size(), root.GetPath().size()));
    while (path.starts_with(u'\\')) path.remove_prefix(1);
    Vx::UniString name(path);
    name.ReplaceAll(u'\\', u'/');
    return name;
  }

  // What stands in the tree; false for nothing.
  static bool Look(const ::IO::Location& location, Attributes& attributes) {
    const int status = ::IO::fileSystem.GetAttributes(location, &attributes, false);
    if (status == 0) return true;
    if (status == ::IO::StatusNotFound || status == ::IO::StatusNotAFolder) return false;
    throw SystemFailure(ToPrintable(location), "can't be looked at", status);
  }

  void NoteFolder(const Vx::UniString& header, const Vx::UniString& value) {
    if (!header.GetView().starts_with(TreeFacts::FolderPrefix)) return;
    const ::IO::Location location = Locate(header.GetSubstring(TreeFacts::FolderPrefix.size()));
    const Vx::UniString path = GetPath(location);
    KeepFoldersAbove(path);
    Attributes found;
    unsigned int facts = IsFolder | HasFacts | (known.GetValue(path) & HasFile);
    if (!Look(location, found)) {
      facts |= Removed;
    } else if (found.type != EntryType::Folder) {
      facts |= Type;
    } else {
      facts |= CompareFolder(value, found);
    }
    known.Put(path, facts);
  }

  unsigned int CompareFolder(std::u16string_view text, const Attributes& found) {
    TreeFacts::Folder stored;
    if (!TreeFacts::FolderFromText(text, stored)) return 0;
    const bool sameTime =
        !stored.hasTime || (stored.modifiedSeconds == found.modifiedSeconds &&
                            stored.modifiedNanoseconds == found.modifiedNanoseconds);
    return (stored.mode != found.mode ? Mode : 0U) | (sameTime ? 0U : Time) |
           CompareOwner(stored, found);
  }

  // `item` is an entry, or what is kept of a folder.
  template <class Item>
  unsigned int CompareOwner(const Item& item, const Attributes& found) {
    Attributes stored = found;
    if (!options.owner || !accounts.Take(item, stored)) return 0;
    return stored.owner == found.owner && stored.group == found.group ? 0 : Owner;
  }

  static unsigned int CompareMode(std::u16string_view text, const Attributes& found) {
    unsigned int mode = 0;
    return TreeFacts::ModeFromText(text, mode) && mode != found.mode ? Mode : 0;
  }

  static unsigned int CompareTime(std::u16string_view text, const Attributes& found) {
    Attributes stored;
    if (!TreeFacts::TimeFromText(text, stored)) return 0;
    const bool same = stored.modifiedSeconds == found.modifiedSeconds &&
                      stored.modifiedNanoseconds == found.modifiedNanoseconds;
    return same ? 0 : Time;
  }

  void KeepFoldersAbove(const Vx::UniString& path) {
    Larkspan::Archive::ForEachFolderAbove(path, [this](const Vx::UniString& folder) {
      if (known.Find(folder) != nullptr) return;
      Attributes found;
      const bool present = Look(Locate(folder), found);
      // One that is missing shows by what is missing in it.
      known.Put(folder, present && found.type != EntryType::Folder ? IsFolder | Type : IsFolder);
    });
  }

  void NoteFileIn(const Vx::UniString& path) {
    const std::size_t slash = path.GetView().rfind(u'/');
    if (slash != path.GetView().npos) {
      known.Find(Vx::UniString(path.GetView().substr(0, slash)))->value |= HasFile;
    }
  }

  // Compares all but the data, before that is read.
  Choice Choose(const ArchiveEntry& entry) {
    const ::IO::Location location = Locate(entry.GetName());
    const Vx::UniString path = GetPath(location);
    KeepFoldersAbove(path);
    NoteFileIn(path);
    for (const auto& [name, value] : entry.EnumerateHeaders()) {
      keepsFolders = keepsFolders || name.GetView().starts_with(TreeFacts::FolderPrefix);
      NoteFolder(name, value);
    }
    Attributes found;
    unsigned int facts = 0;
    const bool isLink = entry.GetHeader(TreeFacts::TypeHeader) == TreeFacts::SymbolicLinkType;
    const EntryType expected = isLink ? EntryType::SymbolicLink : EntryType::File;
    if (!Look(location, found)) {
      facts = Removed;
    } else if (found.type != expected) {
      facts = Type;
    } else {
      facts =
          CompareTime(entry.GetHeader(TreeFacts::TimeHeader), found) | CompareOwner(entry, found);
      if (expected == EntryType::File) {
        facts |= CompareMode(entry.GetHeader(TreeFacts::ModeHeader), found);
      }
    }
    known.Put(path, facts);
    return (facts & (Removed | Type)) != 0 ? Choice::Pass : Choice::Take;
  }

  void CompareData(const ArchiveEntry& entry) {
    const ::IO::Location location = Locate(entry.GetName());
    const Vx::UniString type = entry.GetHeader(TreeFacts::TypeHeader);
    bool same = true;
    if (type.IsEmpty()) {
      same = HasSameContent(entry, location);
    } else if (type == TreeFacts::HardLinkType) {
      same = IsLinkedTo(location, ReadText());
    } else if (type == TreeFacts::SymbolicLinkType) {
      same = LeadsTo(location, ReadText());
    }
    unsigned int& facts = known.Find(GetPath(location))->value;
    const unsigned int bit = type.IsEmpty() ? Content : Target;
    facts = same ? facts & ~bit : facts | bit;
    reader.Leave();
  }

  bool HasSameContent(const ArchiveEntry& entry, const ::IO::Location& location) {
    Attributes found;
    if (!Look(location, found)) return false;
    if (reader.IsAhead() && entry.GetSize() != found.size) return false;
    InputFile file(location, found, noProgress);
    if (file.GetStatus() != 0) {
      throw SystemFailure(ToPrintable(location), "can't be read", file.GetStatus());
    }
    Vx::ByteArray buffer = Vx::NewByteArray(BufferSize);
    for (auto chunk = reader.ReadChunk(); !chunk.empty(); chunk = reader.ReadChunk()) {
      while (!chunk.empty()) {
        const auto wanted =
            static_cast<unsigned int>(std::min<std::size_t>(chunk.size(), BufferSize));
        const unsigned int count = file.Read(buffer.get(), wanted, Vx::IBinaryChannel::ReadSome);
        if (count == 0 || chunk.substr(0, count) != std::string_view(buffer.get(), count)) {
          return false;
        }
        chunk.remove_prefix(count);
      }
    }
    return file.Read(buffer.get(), 1, Vx::IBinaryChannel::ReadSome) == 0;
  }

  // The entry's data, as far as it can be a name.
  std::string ReadText() {
    constexpr std::size_t longest = 0x40000;
    std::string text;
    for (auto chunk = reader.ReadChunk(); !chunk.empty() && text.size() < longest;
         chunk = reader.ReadChunk()) {
      text += chunk;
    }
    return text;
  }

  bool IsLinkedTo(const ::IO::Location& location, const std::string& name) {
    Attributes found;
    Attributes linked;
    try {
      const Vx::UniString first(name.c_str(), VxCharCodeUTF);
      return Look(location, found) && Look(Locate(first), linked) && found.IsSameItem(linked);
    } catch (const Vx::ConversionErrorException&) {
      return false;  // it is the name of no entry
    }
  }

  static bool LeadsTo(const ::IO::Location& location, const std::string& target) {
    Vx::String found;
    const int status = ::IO::fileSystem.ReadLink(location, found);
    if (status != 0) throw SystemFailure(ToPrintable(location), "can't be read", status);
    return found.GetView() == target;
  }

  // Whether all that is in the folder was meant to be in the archive: it keeps facts of that folder
  // or one above, or where it keeps none of folders with something in them, it has a file there.
  [[nodiscard]] bool IsWhole(const Vx::UniString& path, unsigned int facts) const {
    const unsigned int sign = keepsFolders ? HasFacts : HasFacts | HasFile;
    bool whole = options.all || (facts & sign) != 0;
    Larkspan::Archive::ForEachFolderAbove(path, [&](const Vx::UniString& folder) {
      whole = whole || (known.GetValue(folder) & sign) != 0;
    });
    return whole;
  }

  void FindAdded() {
    std::vector<Vx::UniString> folders;
    if (options.all) folders.emplace_back();
    for (const auto& [path, facts] : known.EnumeratePairs()) {
      const bool present = (facts & (IsFolder | Removed | Type)) == IsFolder;
      if (present && IsWhole(path, facts)) folders.push_back(path);
    }
    for (const Vx::UniString& folder : folders) FindAddedIn(folder);
  }

  void FindAddedIn(const Vx::UniString& path) {
    CheckInterruption();
    ::IO::Location location = path.IsEmpty() ? root : Locate(path);
    ::IO::Folder::Names names;
    const int status = ::IO::Folder(location, ::IO::OnNotFound::Fail).GetNames(names);
    if (status == ::IO::StatusNotFound) return;
    if (status != 0) throw SystemFailure(ToPrintable(location), "can't be read", status);
    for (const Vx::UniString& name : names) {
      ::IO::Location item(location);
      const ::IO::Name last(name);
      if (item.AppendToLocal(last) != 0) Vx::ThrowOutOfMemory();
      const Vx::UniString below = GetPath(item);
      Attributes found;
      if (known.Find(below) != nullptr || ::IO::NewFile::IsTemporary(last)) continue;
      if (!Look(item, found) || found.IsSameItem(archiveFile)) continue;
      known.Put(below, Added | (found.type == EntryType::Folder ? IsFolder : 0));
    }
  }

  void Print() {
    std::vector<Vx::UniString> names;
    for (const auto& [path, facts] : known.EnumeratePairs()) {
      if ((facts & AnyDifference) != 0) names.push_back(path);
    }
    std::ranges::sort(names);
    StandardOutput output(options.null);
    for (const Vx::UniString& name : names) {
      const unsigned int facts = known.GetValue(name);
      if (console.IsJson()) {
        output.Print(ToJson(name, facts));
      } else {
        output.PrintName(Describe(facts) + " ", name.GetView(), (facts & IsFolder) != 0 ? "/" : "");
      }
    }
    output.Flush();
    if (!names.empty()) console.MarkIncomplete();
  }

  static constexpr unsigned int BufferSize = 0x40000;

  const DiffOptions& options;
  Console& console;
  const ::IO::Location root;
  Larkspan::Archive::LocalAccounts accounts;
  Attributes archiveFile;      // which is not told, if it is in the tree
  Facts known;                 // by paths below the root
  Progress noProgress{false};  // the archive's counts
  bool keepsFolders = false;   // with something in them
  ArchiveReader reader;
};

}  // namespace

void RunDiff(const DiffOptions& options, Console& console) {
  Comparison(options, console).Run();
}

}  // namespace Tool
