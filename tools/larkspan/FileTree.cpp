#include "tools/larkspan/FileTree.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "Larkspan/Archive/EntryName.h"
#include "Larkspan/Common/IO/LocationUtils.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/IO/NewFile.h"
#include "foundation/Vx/OutOfMemoryException.h"
#include "tools/larkspan/Interruption.h"
#include "tools/larkspan/PathArgument.h"
#include "tools/larkspan/Text.h"

namespace Tool {
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
  return !one.isStandardInput && !other.isStandardInput &&
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
    const bool below = last != nullptr && Larkspan::Archive::IsBelow(next.name, last->name);
    if (equal && AreSame(*next.item, *last->item)) {
      dropped.push_back(next.item);
      continue;
    }
    if (equal || (below && !last->item->IsFolder())) {
      throw Failure(ExitCode::WrongUsage, ToPrintable(last->name.GetView()),
                    "two different files would have this name; make two archives of them");
    }
    if (below) dropped.push_back(last->item);
    last = &next;
  }
  std::ranges::sort(dropped);
  return dropped;
}

// Lexically normalised components. Sets `changed` if the path was absolute or contained `..`.
std::vector<std::string_view> SplitPath(std::string_view path, bool& changed) {
  std::vector<std::string_view> names;
  if (path.starts_with('/')) changed = true;
  for (std::size_t start = 0, end = 0; end < path.size(); start = end + 1) {
    end = std::min(path.find('/', start), path.size());
    const std::string_view name = path.substr(start, end - start);
    if (name.empty() || name == ".") continue;
    if (name != "..") {
      names.push_back(name);
      continue;
    }
    changed = true;
    if (!names.empty()) names.pop_back();
  }
  return names;
}

}  // namespace

unsigned int FileTree::AddBranch(const ::IO::Location& location, Vx::UniString prefix) {
  branches.push_back(Branch{location, std::move(prefix)});
  return static_cast<unsigned int>(branches.size() - 1);
}

::IO::Location FileTree::GetLocation(const Item& item) const {
  ::IO::Location location(branches[item.folder].location);
  if (location.AppendToLocal(::IO::Name(item.name)) != 0) Vx::ThrowOutOfMemory();
  return location;
}

Vx::UniString FileTree::GetEntryName(const Item& item) const {
  Vx::UniString name(branches[item.folder].prefix);
  name.Append(item.name.GetView());
  // A drive comes first in it, and would be the root of an absolute path.
  if (!Larkspan::Common::IO::IsAbsolutePath(name)) return name;
  Vx::UniString relative(u"./");
  relative.Append(name.GetView());
  return relative;
}

// Empty for a path that leads to the folder that it counts from, or to one above.
Vx::UniString FileTree::NameFromPath(const std::string& path) {
  bool changed = false;
  std::string joined;
  for (const std::string_view name : SplitPath(path, changed)) (joined += '/') += name;
  if (changed && !std::exchange(namesChanged, true)) {
    console.Note(ToPrintable(path), "entry names are relative: the root and \"..\" are dropped");
  }
  if (joined.empty()) return Vx::UniString();
  Vx::UniString name(LocationFromArgument(joined).GetPath().substr(1));
  name.ReplaceAll(u'\\', u'/');
  return name;
}

void FileTree::Add(const std::string& base, const std::string& path) {
  ++additions;
  const bool relative = !path.empty() && path.front() != '/' && !base.empty();
  ::IO::Location location = LocationFromArgument(relative ? base + "/" + path : path);
  ::IO::Attributes attributes;
  const int status = ::IO::fileSystem.GetAttributes(location, &attributes, false);
  if (status != 0) throw SystemFailure(ToPrintable(location), "can't be read", status);
  const Vx::UniString name = NameFromPath(path);
  if (name.IsEmpty()) {
    Walk(AddBranch(location, Vx::UniString()));
    return;
  }
  if (location.DeleteLastLocalName() != 0) Vx::ThrowOutOfMemory();
  const std::size_t slash = name.GetView().rfind(u'/') + 1;  // 0 where there is none
  Visit(AddBranch(location, Vx::UniString(name.GetView().substr(0, slash))),
        Vx::UniString(name.GetView().substr(slash)));
}

void FileTree::AddStandardInput(const std::string& name) {
  ++additions;
  const auto isInput = [](const Item& item) { return item.isStandardInput; };
  if (std::ranges::any_of(items, isInput)) {
    throw Failure(ExitCode::WrongUsage, "-", "the standard input can be stored only once");
  }
  Item item{AddBranch(::IO::Location(), Vx::UniString()), NameFromPath(name), {}, true};
  const std::size_t last = item.name.GetView().rfind(u'/') + 1;  // 0 where there is no slash
  const ::IO::Name lastName(Vx::UniString(item.name.GetView().substr(last)));
  if (item.name.IsEmpty() || ::IO::NewFile::IsTemporary(lastName)) {
    throw Failure(ExitCode::WrongUsage, "--stdin-name", "no name for an entry");
  }
  items.push_back(std::move(item));
}

void FileTree::AddAll(const std::vector<std::string>& paths, const std::string& base,
                      const std::string& inputName) {
  for (const std::string& path : paths) {
    if (path == "-") {
      AddStandardInput(inputName);
    } else {
      Add(base, path);
    }
  }
  CheckNames();
}

void FileTree::Visit(unsigned int folder, Vx::UniString name) {
  CheckInterruption();
  ::IO::Location location(branches[folder].location);
  int status = location.AppendToLocal(::IO::Name(name));
  ::IO::Attributes attributes;
  if (status == 0) status = ::IO::fileSystem.GetAttributes(location, &attributes, false);
  if (status != 0) {
    LeaveOut(location, status);
    return;
  }
  if (attributes.type == EntryType::SymbolicLink && !FindAttributes(location, attributes)) return;
  if (attributes.type == EntryType::File) {
    Take(folder, std::move(name), attributes);
  } else if (attributes.type == EntryType::Folder) {
    Vx::UniString prefix(branches[folder].prefix);
    prefix.Append(name.GetView());
    prefix.Append(u'/');
    const std::size_t itemsBefore = items.size();
    const unsigned int unreadableBefore = unreadable;
    Walk(AddBranch(location, std::move(prefix)));
    // One that seems empty because nobody could look into it must not come back as an empty one.
    if (items.size() == itemsBefore && unreadable == unreadableBefore) {
      items.push_back(Item{folder, std::move(name), attributes});
    }
  } else {
    console.Warn(ToPrintable(location), "left out: neither file nor folder");
  }
}

void FileTree::LeaveOut(const ::IO::Location& location, int status) {
  console.Warn(ToPrintable(location), "left out: " + DescribeStatus(status));
  ++unreadable;
}

// What the link leads to; false for what is left out.
bool FileTree::FindAttributes(const ::IO::Location& location, ::IO::Attributes& attributes) {
  if (::IO::fileSystem.GetAttributes(location, &attributes, true) != 0) {
    console.Warn(ToPrintable(location), "left out: a link that leads nowhere");
    return false;
  }
  if (attributes.type == EntryType::Folder) {
    console.Warn(ToPrintable(location), "left out: a link to a folder; name the folder itself");
    return false;
  }
  return true;
}

void FileTree::Take(unsigned int folder, Vx::UniString name, const ::IO::Attributes& attributes) {
  if (::IO::NewFile::IsTemporary(::IO::Name(name))) {
    console.Note(ToPrintable(GetLocation(Item{folder, std::move(name), attributes})),
                 "left out: an unfinished file of this program");
    return;
  }
  const auto isSame = [&](const ::IO::Attributes& other) { return other.IsSameItem(attributes); };
  items.push_back(Item{folder, std::move(name), attributes});
  if (std::ranges::none_of(excluded, isSame)) return;
  console.Note(ToPrintable(GetLocation(items.back())), "left out: it is the archive itself");
  items.pop_back();
}

void FileTree::Walk(unsigned int folder) {
  ::IO::Folder::Names names;
  const ::IO::Location location = branches[folder].location;
  const int status = ::IO::Folder(location, ::IO::OnNotFound::Fail).GetNames(names);
  if (status != 0) {
    LeaveOut(location, status);
    return;
  }
  std::ranges::sort(names);
  for (Vx::UniString& name : names) Visit(folder, std::move(name));
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
    if (!std::ranges::binary_search(dropped, &item)) kept.push_back(std::move(item));
  }
  items.swap(kept);
}

}  // namespace Tool
