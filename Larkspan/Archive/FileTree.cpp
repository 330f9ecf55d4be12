#include "Larkspan/Archive/FileTree.h"

#include <algorithm>
#include <utility>

#include "Larkspan/Archive/EntryName.h"
#include "Larkspan/Common/IO/FileIBinaryChannel.h"
#include "Larkspan/Common/IO/LocationUtils.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/IO/NewFile.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/OutOfMemoryException.h"

namespace Larkspan::Archive {
namespace {

using ::IO::EntryType;

// Sorts a folder directly before its descendants, since `/` orders below every other unit:
// "a", "a/b", "a-b" instead of "a", "a-b", "a/b".
bool ComesBefore(const Vx::UniString& left, const Vx::UniString& right) noexcept {
  const auto rank = [](char16_t unit) { return unit == u'/' ? 0 : unit + 1; };
  return std::ranges::lexicographical_compare(left.GetView(), right.GetView(), {}, rank, rank);
}

bool AreSame(const FileTree::Item& one, const FileTree::Item& other) noexcept {
  if (one.IsFolder() || other.IsFolder()) return one.IsFolder() && other.IsFolder();
  return one.source == nullptr && other.source == nullptr &&
         one.attributes.IsSameItem(other.attributes);
}

struct NamedItem {
  Vx::UniString name;
  const FileTree::Item* item;
};

// Items to drop, sorted by address: duplicates, and folders that turn out not to be empty.
std::vector<const FileTree::Item*> FindDropped(const std::vector<NamedItem>& sorted) {
  std::vector<const FileTree::Item*> dropped;
  const NamedItem* last = nullptr;
  for (const NamedItem& next : sorted) {
    const bool equal = last != nullptr && next.name == last->name;
    const bool below = last != nullptr && IsBelow(next.name, last->name);
    if (equal && AreSame(*next.item, *last->item)) {
      dropped.push_back(next.item);
      continue;
    }
    if (equal || (below && !last->item->IsFolder())) {
      throw FileTree::NameConflict(last->name, __FILE__, __LINE__);
    }
    if (below) dropped.push_back(last->item);
    last = &next;
  }
  std::ranges::sort(dropped);
  return dropped;
}

::IO::Location Below(const ::IO::Location& folder, const Vx::UniString& name) {
  ::IO::Location location(folder);
  if (location.AppendToLocal(::IO::Name(name)) != 0) Vx::ThrowOutOfMemory();
  return location;
}

// Whether the folder has a file that marks it as a cache.
bool IsCache(const ::IO::Location& folder) {
  constexpr std::string_view signature = "Signature: 8a477f597d28d172789f06886806bc55";
  const ::IO::Location tag = Below(folder, u"CACHEDIR.TAG");
  ::IO::File file(tag, ::IO::OnNotFound::Fail);
  if (file.GetStatus() != 0) return false;
  if (file.Open(::IO::OpenMode::Read, ::IO::AccessDeniedTreatment::Report) != 0) return false;
  char bytes[signature.size()];
  unsigned int count = 0;
  return file.ReadBin(bytes, sizeof(bytes), &count) == 0 &&
         std::string_view(bytes, count) == signature;
}

}  // namespace

FileTree::NameConflict::NameConflict(const Vx::UniString& conflictName, const char* file,
                                     unsigned int line)
    // NOLINTNEXTLINE(bugprone-throw-keyword-missing): the base of what is thrown.
    : IOException("Two different files would have one name in the archive.", file, line),
      name(conflictName) {}

FileTree::FileTree(Options treeOptions, Watcher& treeWatcher)
    : options(std::move(treeOptions)), watcher(treeWatcher) {}

FileTree::~FileTree() = default;

unsigned int FileTree::AddBranch(const ::IO::Location& location, Vx::UniString prefix) {
  branches.push_back(Branch{location, std::move(prefix)});
  return static_cast<unsigned int>(branches.size() - 1);
}

::IO::Location FileTree::GetLocation(const Item& item) const {
  return Below(branches[item.folder].location, item.name);
}

Vx::UniString FileTree::GetEntryName(const Item& item) const {
  Vx::UniString name(branches[item.folder].prefix);
  name.Append(item.name.GetView());
  // A drive comes first in it, and would be the root of an absolute path.
  if (!Common::IO::IsAbsolutePath(name)) return name;
  Vx::UniString relative(u"./");
  relative.Append(name.GetView());
  return relative;
}

const ::IO::Attributes* FileTree::FindFolder(const Vx::UniString& name) const {
  const auto found = folders.find(name);
  return found == folders.end() ? nullptr : &found->second;
}

void FileTree::Add(const ::IO::Location& location, const Vx::UniString& name) {
  ++additions;
  ::IO::Attributes attributes;
  const int status = ::IO::fileSystem.GetAttributes(location, &attributes, false);
  if (status != 0) {
    throw ::IO::WithDetail(Vx::IOException("Failed to look at file or folder.", __FILE__, __LINE__),
                           location, status);
  }
  if (name.IsEmpty()) {
    Walk(AddBranch(location, Vx::UniString()), attributes.device);
    return;
  }
  ::IO::Location parent(location);
  if (parent.DeleteLastLocalName() != 0) Vx::ThrowOutOfMemory();
  const std::size_t slash = name.GetView().rfind(u'/') + 1;  // 0 where there is none
  Visit(AddBranch(parent, Vx::UniString(name.GetView().substr(0, slash))),
        Vx::UniString(name.GetView().substr(slash)), attributes.device);
}

void FileTree::AddChannel(const Vx::UniString& name, const ::IO::Attributes& attributes,
                          Vx::IBinaryChannel& source) {
  ++additions;
  items.push_back(Item{AddBranch(::IO::Location(), Vx::UniString()), name, attributes, &source});
}

void FileTree::Visit(unsigned int folder, Vx::UniString name, Vx::UInt64 device) {
  watcher.OnStep();
  ::IO::Location location(branches[folder].location);
  int status = location.AppendToLocal(::IO::Name(name));
  ::IO::Attributes attributes;
  if (status == 0) status = ::IO::fileSystem.GetAttributes(location, &attributes, false);
  if (status != 0) {
    LeaveOutUnreadable(location, status);
    return;
  }
  const bool follows = options.followLinks && attributes.type == EntryType::SymbolicLink;
  if (follows && !FollowLink(location, attributes)) return;
  if (options.filter &&
      !options.filter(GetEntryName(Item{folder, Vx::UniString(name), attributes}), attributes)) {
    return;
  }
  if (attributes.type == EntryType::Folder) {
    VisitFolder(folder, std::move(name), attributes, device);
  } else if (attributes.type == EntryType::Other) {
    watcher.OnLeftOut(location, Reason::NeitherKind, 0);
  } else {
    Take(folder, std::move(name), attributes);
  }
}

void FileTree::VisitFolder(unsigned int folder, Vx::UniString name,
                           const ::IO::Attributes& attributes, Vx::UInt64 device) {
  Vx::UniString prefix(branches[folder].prefix);
  prefix.Append(name.GetView());
  prefix.Append(u'/');
  const std::size_t itemsBefore = items.size();
  const unsigned int unreadableBefore = unreadable;
  const unsigned int branch = AddBranch(Below(branches[folder].location, name), std::move(prefix));
  if (!options.oneFileSystem || attributes.device == device) Walk(branch, device);
  // One that seems empty because nobody could look into it must not come back as an empty one.
  if (items.size() == itemsBefore && unreadable == unreadableBefore) {
    items.push_back(Item{folder, std::move(name), attributes});
  } else {
    folders.emplace(GetEntryName(Item{folder, std::move(name), attributes}), attributes);
  }
}

void FileTree::LeaveOutUnreadable(const ::IO::Location& location, int status) {
  watcher.OnLeftOut(location, Reason::Unreadable, status);
  ++unreadable;
}

// Finds what the link leads to; false for what is left out.
bool FileTree::FollowLink(const ::IO::Location& location, ::IO::Attributes& attributes) {
  if (::IO::fileSystem.GetAttributes(location, &attributes, true) != 0) {
    watcher.OnLeftOut(location, Reason::LeadsNowhere, 0);
    return false;
  }
  if (attributes.type == EntryType::Folder) {
    watcher.OnLeftOut(location, Reason::LeadsToFolder, 0);
    return false;
  }
  return true;
}

void FileTree::Take(unsigned int folder, Vx::UniString name, const ::IO::Attributes& attributes) {
  if (::IO::NewFile::IsTemporary(::IO::Name(name))) {
    watcher.OnLeftOut(Below(branches[folder].location, name), Reason::Unfinished, 0);
    return;
  }
  const auto isSame = [&](const ::IO::Attributes& other) { return other.IsSameItem(attributes); };
  items.push_back(Item{folder, std::move(name), attributes});
  if (std::ranges::none_of(excluded, isSame)) return;
  watcher.OnLeftOut(GetLocation(items.back()), Reason::Excluded, 0);
  items.pop_back();
}

void FileTree::Walk(unsigned int folder, Vx::UInt64 device) {
  ::IO::Folder::Names names;
  const ::IO::Location location = branches[folder].location;
  const int status = ::IO::Folder(location, ::IO::OnNotFound::Fail).GetNames(names);
  if (status != 0) {
    LeaveOutUnreadable(location, status);
    return;
  }
  if (options.leaveOutCaches && IsCache(location)) {
    Visit(folder, u"CACHEDIR.TAG", device);
    return;
  }
  std::ranges::sort(names);
  for (Vx::UniString& name : names) Visit(folder, std::move(name), device);
}

void FileTree::CheckNames() {
  if (additions < 2) return;  // a folder has each name once
  std::vector<NamedItem> sorted;
  sorted.reserve(items.size());
  for (const Item& item : items) sorted.push_back(NamedItem{GetEntryName(item), &item});
  std::ranges::stable_sort(sorted, ComesBefore, &NamedItem::name);
  const std::vector<const Item*> dropped = FindDropped(sorted);
  std::vector<Item> kept;
  kept.reserve(items.size() - dropped.size());
  for (Item& item : items) {
    if (!std::ranges::binary_search(dropped, &item)) {
      kept.push_back(std::move(item));
    } else if (item.IsFolder()) {
      folders.emplace(GetEntryName(item), item.attributes);
    }
  }
  items.swap(kept);
}

}  // namespace Larkspan::Archive
