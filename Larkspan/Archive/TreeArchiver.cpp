#include "Larkspan/Archive/TreeArchiver.h"

#include <string_view>

#include "Larkspan/Common/IO/JavaDataOutputProtocolUtils.h"
#include "foundation/IO/Accounts.h"
#include "foundation/IO/File.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/CharCode.h"
#include "foundation/Vx/ConversionErrorException.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"

namespace Larkspan::Archive {
namespace {

using Common::IO::ArchiveEntry;
using Common::IO::ArchiveHeaders;

// Calls `meet` with each folder above the name, from the deepest on, that was not met before.
template <class Meet>
void MeetFoldersAbove(const Vx::UniString& name, std::unordered_set<Vx::UniString>& met,
                      Meet meet) {
  const Vx::UniString::View path = name.GetView();
  for (std::size_t end = path.rfind(u'/'); end != path.npos && end != 0;
       end = path.rfind(u'/', end - 1)) {
    const auto [folder, isNew] = met.emplace(path.substr(0, end));
    // Who has met it has met those above it, too.
    if (!isNew) return;
    meet(*folder);
  }
}

// The account of a number, looked up once.
const TreeFacts::Account& FindAccount(std::map<unsigned int, TreeFacts::Account>& known,
                                      unsigned int number, int (*find)(unsigned int, Vx::String*)) {
  const auto [place, isNew] = known.try_emplace(number);
  TreeFacts::Account& account = place->second;
  if (!isNew) return account;
  account.number = number;
  Vx::String name;
  if (find(number, &name) != 0) return account;
  try {
    account.name = Vx::UniString::FromUTF8(name.GetView());
  } catch (const Vx::ConversionErrorException&) {
    // The number is left.
  }
  return account;
}

}  // namespace

/// A file on its way into the archive.
class TreeArchiver::Input final : public Vx::IBinaryChannel {
 public:
  Input(const ::IO::Location& fileLocation, Watcher& fileWatcher)
      : location(fileLocation),
        watcher(fileWatcher),
        file(location, ::IO::OnNotFound::Ignore),
        status(file.Open(::IO::OpenMode::Read, ::IO::AccessDeniedTreatment::Report)) {}

  [[nodiscard]] int GetStatus() const noexcept { return status; }
  [[nodiscard]] bool HasChanged(const ::IO::Attributes& found) const noexcept {
    ::IO::Attributes now;
    return file.GetAttributes(&now) != 0 || now.size != found.size ||
           now.modifiedSeconds != found.modifiedSeconds ||
           now.modifiedNanoseconds != found.modifiedNanoseconds;
  }

  using IBinaryChannel::Read;
  unsigned int Read(char* buffer, unsigned int size, ReadSomeModeSelector) override {
    unsigned int count = 0;
    const int result = ended ? ::IO::StatusEndOfInput : file.ReadBin(buffer, size, &count);
    ended = result == ::IO::StatusEndOfInput;
    if (result != 0 && !ended) {
      watcher.OnReadFailure(location, result);
      throw ::IO::WithDetail(Vx::IOException("Failed to read file.", __FILE__, __LINE__), file,
                             result);
    }
    watcher.OnRead(count);
    return count;
  }
  [[nodiscard]] Vx::UInt64 GetAvailable() const override {
    Vx::UInt64 size = 0;
    return file.GetAvailableSize(&size) == 0 ? size : 0;
  }
  void Close() override { file.Close(); }

 private:
  const ::IO::Location location;
  Watcher& watcher;
  ::IO::File file;
  const int status;
  bool ended = false;
};

TreeArchiver::TreeArchiver(const FileTree& fileTree, const Options& archiverOptions,
                           Watcher& treeWatcher)
    : tree(fileTree), options(archiverOptions), watcher(treeWatcher) {}

TreeArchiver::~TreeArchiver() = default;

Vx::UniString TreeArchiver::DescribeFolder(const ::IO::Attributes& attributes) {
  TreeFacts::Folder folder;
  folder.mode = attributes.mode;
  folder.hasTime = true;
  folder.modifiedSeconds = attributes.modifiedSeconds;
  folder.modifiedNanoseconds = attributes.modifiedNanoseconds;
  folder.hasOwners = options.keepOwners;
  if (options.keepOwners) {
    folder.owner = FindAccount(owners, attributes.owner, ::IO::GetUserName);
    folder.group = FindAccount(groups, attributes.group, ::IO::GetGroupName);
  }
  return TreeFacts::FolderToText(folder);
}

// Tells in a header of the folder, if its path fits.
void TreeArchiver::PutFolder(const Vx::UniString& name, const ::IO::Attributes& attributes,
                             ArchiveHeaders& headers) {
  const Vx::UniString header = TreeFacts::FolderToHeader(name);
  if (Common::IO::GetUTFSize(header) <= Common::IO::MaxUTFSize) {
    headers.Put(header, DescribeFolder(attributes));
  } else {
    watcher.OnFactsLost(name);
  }
}

void TreeArchiver::PutHeaders(ArchiveHeaders& headers) {
  // No entry will tell of the empty folders, nor of those with nothing but empty ones below them.
  std::unordered_set<Vx::UniString> withEntries;
  for (const FileTree::Item& item : tree.GetItems()) {
    if (!item.IsFolder()) MeetFoldersAbove(tree.GetEntryName(item), withEntries, [](auto&) {});
  }
  for (const FileTree::Item& item : tree.GetItems()) {
    if (!item.IsFolder()) continue;
    const Vx::UniString name = tree.GetEntryName(item);
    PutFolder(name, item.attributes, headers);
    MeetFoldersAbove(name, withEntries, [&](const Vx::UniString& folder) {
      const ::IO::Attributes* const attributes = tree.FindFolder(folder);
      if (attributes != nullptr) PutFolder(folder, *attributes, headers);
    });
  }
}

void TreeArchiver::Write(ParallelWriter& writer) {
  for (const FileTree::Item& item : tree.GetItems()) {
    if (!item.IsFolder()) Add(item, writer);
  }
}

ArchiveEntry::Method TreeArchiver::GetMethod(const Vx::UniString& name) const {
  const Vx::UniString::View path = name.GetView();
  const std::size_t dot = path.rfind(u'.');
  // A name that begins with its only dot is that of a hidden file.
  const bool hasSuffix = dot != path.npos && dot != 0 && path[dot - 1] != u'/';
  if (options.storedSuffixes.empty() || !hasSuffix) return options.method;
  std::u16string suffix(path.substr(dot + 1));
  for (char16_t& unit : suffix) {
    if (unit >= u'A' && unit <= u'Z') unit = static_cast<char16_t>(unit - u'A' + u'a');
  }
  const bool isStored = options.storedSuffixes.contains(Vx::UniString(suffix));
  return isStored ? ArchiveEntry::Stored : options.method;
}

void TreeArchiver::Add(const FileTree::Item& item, ParallelWriter& writer) {
  const Vx::UniString name = tree.GetEntryName(item);
  watcher.OnItemBegin(name, item.attributes.size);
  entryHeaders.Clear();
  if (item.attributes.type == ::IO::EntryType::SymbolicLink) {
    AddSymbolicLink(name, item, writer);
  } else if (item.source != nullptr || !AddHardLink(name, item, writer)) {
    AddFile(name, item, writer);
  }
}

void TreeArchiver::AddFile(const Vx::UniString& name, const FileTree::Item& item,
                           ParallelWriter& writer) {
  if (item.source != nullptr) {
    PutFacts(name, item.attributes, item.attributes.type == ::IO::EntryType::File);
    writer.Add(name, entryHeaders, GetMethod(name), *item.source);
    watcher.OnItem(name);
    return;
  }
  const ::IO::Location location = tree.GetLocation(item);
  Input input(location, watcher);
  if (input.GetStatus() != 0) {
    watcher.OnLeftOut(location, input.GetStatus());
    return;
  }
  PutFacts(name, item.attributes, true);
  if (item.attributes.IsSparse()) entryHeaders.Put(TreeFacts::SparseHeader, u"1");
  writer.Add(name, entryHeaders, GetMethod(name), input);
  if (item.attributes.links > 1) {
    firstNames.try_emplace({item.attributes.device, item.attributes.node}, name);
  }
  if (input.HasChanged(item.attributes)) watcher.OnChanged(location);
  watcher.OnItem(name);
}

// Of a file that stands in the archive already, under another name.
bool TreeArchiver::AddHardLink(const Vx::UniString& name, const FileTree::Item& item,
                               ParallelWriter& writer) {
  if (item.attributes.links < 2 || options.copyHardLinks) return false;
  const auto first = firstNames.find({item.attributes.device, item.attributes.node});
  if (first == firstNames.end()) return false;
  PutFacts(name, item.attributes, true);
  const Vx::String target =
      first->second.ToBytes(0, Vx::ToEnd, VxCharCodeUTF, OnConversionErrorFail);
  AddLink(name, TreeFacts::HardLinkType, target.GetView(), writer);
  return true;
}

void TreeArchiver::AddSymbolicLink(const Vx::UniString& name, const FileTree::Item& item,
                                   ParallelWriter& writer) {
  const ::IO::Location location = tree.GetLocation(item);
  Vx::String target;
  const int status = ::IO::fileSystem.ReadLink(location, target);
  if (status != 0) {
    watcher.OnLeftOut(location, status);
    return;
  }
  // Its mode means nothing.
  entryHeaders.Put(TreeFacts::TimeHeader, TreeFacts::TimeToText(item.attributes));
  PutOwners(item.attributes);
  PutFolders(name);
  AddLink(name, TreeFacts::SymbolicLinkType, target.GetView(), writer);
}

void TreeArchiver::AddLink(const Vx::UniString& name, const char16_t* type, std::string_view target,
                           ParallelWriter& writer) {
  entryHeaders.Put(TreeFacts::TypeHeader, type);
  Vx::MemoryIBinaryChannel source(target);
  writer.Add(name, entryHeaders, ArchiveEntry::Stored, source);
  watcher.OnItem(name);
}

void TreeArchiver::PutFacts(const Vx::UniString& name, const ::IO::Attributes& attributes,
                            bool hasTime) {
  if (hasTime) entryHeaders.Put(TreeFacts::TimeHeader, TreeFacts::TimeToText(attributes));
  entryHeaders.Put(TreeFacts::ModeHeader, TreeFacts::ModeToText(attributes.mode));
  if (hasTime) PutOwners(attributes);
  PutFolders(name);
}

void TreeArchiver::PutOwners(const ::IO::Attributes& attributes) {
  if (!options.keepOwners) return;
  const TreeFacts::Account& owner = FindAccount(owners, attributes.owner, ::IO::GetUserName);
  const TreeFacts::Account& group = FindAccount(groups, attributes.group, ::IO::GetGroupName);
  entryHeaders.Put(TreeFacts::OwnerHeader, TreeFacts::AccountToText(owner));
  entryHeaders.Put(TreeFacts::GroupHeader, TreeFacts::AccountToText(group));
}

// The facts of each folder on the way to the entry that no entry before it has told.
void TreeArchiver::PutFolders(const Vx::UniString& name) {
  MeetFoldersAbove(name, toldFolders, [this](const Vx::UniString& folder) {
    const ::IO::Attributes* const attributes = tree.FindFolder(folder);
    if (attributes != nullptr) PutFolder(folder, *attributes, entryHeaders);
  });
}

}  // namespace Larkspan::Archive
