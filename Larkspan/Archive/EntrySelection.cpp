#include "Larkspan/Archive/EntrySelection.h"

#include <algorithm>

#include "Larkspan/Archive/ParallelReader.h"
#include "Larkspan/Archive/TreeFacts.h"
#include "Larkspan/Common/IO/ArchiveHeaderTable.h"
#include "foundation/Vx/ConversionErrorException.h"
#include "foundation/Vx/IllegalArgumentException.h"

namespace Larkspan::Archive {
namespace {

using Common::IO::ArchiveEntry;
using Common::IO::ArchiveHeaders;
using Common::IO::ArchiveOBinaryChannel;

using TreeFacts::FolderPrefix;
using TreeFacts::HardLinkType;
using TreeFacts::TypeHeader;

// No name of an entry has more bytes, in the encoding of names in archives.
constexpr unsigned int MaxTargetSize = 0xFFFF;

ArchiveHeaders CopyHeaders(const ArchiveEntry& entry) {
  ArchiveHeaders headers(0, 0);
  for (const auto& [name, value] : entry.EnumerateHeaders()) headers.Put(name, value);
  return headers;
}

// Whether a header tells of a folder.
bool IsFolder(const Vx::UniString& header) noexcept {
  return header.GetView().starts_with(FolderPrefix);
}

// What a hard link leads to; nothing if its data can't be the name of an entry.
std::optional<Vx::UniString> ReadTarget(const ArchiveIndex& index, std::size_t number) {
  const unsigned __int64 size = index.GetEntry(number)->GetSize();
  if (size == 0 || size > MaxTargetSize) return std::nullopt;
  const Vx::IBinaryChannelRef data = index.OpenEntry(number);
  std::basic_string<char, std::char_traits<char>, Vx::Allocator<char>> bytes(size, '\0');
  const auto wanted = static_cast<unsigned int>(size);
  bytes.resize(data->Read(bytes.data(), wanted, Vx::IBinaryChannel::ReadAll));
  try {
    return Vx::UniString(bytes.c_str(), VxCharCodeUTF);
  } catch (const Vx::ConversionErrorException&) {
    return std::nullopt;
  }
}

}  // namespace

std::size_t EntrySelection::Add(const ArchiveIndex& index) {
  const std::size_t first = states.size();
  sources.push_back({&index, first});
  states.resize(first + index.GetEntryCount(), Kept);
  return first;
}

EntrySelection::Place EntrySelection::Find(std::size_t number, unsigned int line) const {
  if (number >= states.size()) {
    throw Vx::IllegalArgumentException("Invalid archive entry number.", __FILE__, line);
  }
  const auto behind = std::ranges::upper_bound(sources, number, {}, &Source::first);
  const Source& source = *std::prev(behind);
  return {source.index, source.first, number - source.first};
}

const EntrySelection::Change* EntrySelection::GetChange(std::size_t number) const noexcept {
  return states[number] < FirstChange ? nullptr : &changes[states[number] - FirstChange];
}

EntrySelection::Change& EntrySelection::MakeChange(std::size_t number) {
  if (states[number] < FirstChange) {
    const ArchiveIndex::EntryRef entry = GetEntry(number);
    changes.push_back({number, entry->GetName(), CopyHeaders(*entry), std::nullopt});
    states[number] = static_cast<unsigned int>(changes.size() - 1 + FirstChange);
    changed = true;
  }
  return changes[states[number] - FirstChange];
}

ArchiveIndex::EntryRef EntrySelection::GetEntry(std::size_t number) const {
  const Place place = Find(number);
  return place.index->GetEntry(place.number);
}

Vx::UniString EntrySelection::GetName(std::size_t number) const {
  const Place place = Find(number);
  const Change* const change = GetChange(number);
  return change != nullptr ? change->name : place.index->GetName(place.number);
}

bool EntrySelection::IsDropped(std::size_t number) const {
  static_cast<void>(Find(number));
  return states[number] == Dropped;
}

unsigned __int64 EntrySelection::GetArchivedSize() const {
  unsigned __int64 size = 0;
  for (std::size_t number = 0; number < states.size(); ++number) {
    const Change* const change = GetChange(number);
    if (states[number] == Dropped) continue;
    size += GetEntry(change != nullptr ? change->data : number)->GetArchivedSize();
  }
  return size;
}

void EntrySelection::Drop(std::size_t number) {
  static_cast<void>(Find(number));
  states[number] = Dropped;
  changed = true;
}

void EntrySelection::DropFolder(const Vx::UniString& path) {
  Vx::UniString header(FolderPrefix);
  header.Append(path.GetView());
  droppedFolders.Put(header, true);
}

void EntrySelection::KeepLast() {
  for (std::size_t number = 0; number < states.size(); ++number) {
    const Place place = Find(number);
    const Vx::UniString name = place.index->GetName(place.number);
    const bool isLast = place.index->Find(name) == place.number;
    const auto hasName = [&](const Source& source) {
      return source.first > place.first && source.index->Find(name).has_value();
    };
    if (!isLast || std::ranges::any_of(sources, hasName)) Drop(number);
  }
}

void EntrySelection::Put(std::size_t number, const Vx::UniString& name,
                         const ArchiveHeaders& headers) {
  Common::IO::CheckName(name, Common::IO::EmptyEntryName);
  Common::IO::CheckHeaderNames(headers);
  static_cast<void>(Find(number));
  Change& change = MakeChange(number);
  change.name = name;
  change.headers = headers;
}

void EntrySelection::Settle(ArchiveHeaders& archiveHeaders) {
  if (changed) SettleLinks();
  SettleFolders(archiveHeaders);
}

void EntrySelection::SettleLinks() {
  Numbers contents;
  Numbers heirs;
  for (std::size_t number = 0; number < states.size(); ++number) {
    const Place place = Find(number);
    const ArchiveIndex::EntryRef entry = place.index->GetEntry(place.number);
    if (entry->GetHeader(TypeHeader).GetView() != HardLinkType) continue;
    if (const auto target = ReadTarget(*place.index, place.number)) {
      SettleLink(number, *target, contents, heirs);
    }
  }
}

// The entry that a hard link leads to: the last one of that name before it, in its archive.
std::optional<std::size_t> EntrySelection::FindLinked(std::size_t number,
                                                      const Vx::UniString& target) const {
  const Place place = Find(number);
  std::optional<std::size_t> found = place.index->Find(target);
  if (!found) return found;
  // The last of the archive may be behind the link.
  for (std::size_t other = place.number; *found >= place.number && other-- > 0;) {
    if (place.index->GetName(other) == target) found = other;
  }
  if (*found >= place.number) return std::nullopt;
  return place.first + *found;
}

// `contents` has the entry with the data for each link so far, and `heirs` the link that has got
// them for each that was dropped.
void EntrySelection::SettleLink(std::size_t number, const Vx::UniString& target, Numbers& contents,
                                Numbers& heirs) {
  const auto linked = FindLinked(number, target);
  if (!linked) return;
  const auto through = contents.find(*linked);
  const std::size_t content = through == contents.end() ? *linked : through->second;
  contents[number] = content;
  if (states[number] == Dropped) return;
  if (states[content] == Dropped && heirs.try_emplace(content, number).second) {
    Inherit(number, content);
    return;
  }
  const std::size_t holder = states[content] == Dropped ? heirs[content] : content;
  const Vx::UniString name = GetName(holder);
  if (name != target) MakeChange(number).target = name;
}

void EntrySelection::Inherit(std::size_t heir, std::size_t content) {
  const ArchiveIndex::EntryRef entry = GetEntry(content);
  ArchiveHeaders headers = CopyHeaders(*entry);
  Change& change = MakeChange(heir);
  // What each of them tells of folders stays with it.
  for (const auto& [name, value] : entry->EnumerateHeaders()) {
    if (IsFolder(name)) headers.Delete(name);
  }
  for (const auto& [name, value] : change.headers.EnumeratePairs()) {
    if (IsFolder(name)) headers.Put(name, value);
  }
  change.data = content;
  change.headers = headers;
}

// Puts headers of folders, by their names, to the first entries below.
void EntrySelection::PlaceFolders(ArchiveHeaders& orphans) {
  for (std::size_t number = 0; number < states.size() && orphans.GetSize() != 0; ++number) {
    if (states[number] == Dropped) continue;
    const Vx::UniString name = GetName(number);
    Vx::UniString header(FolderPrefix);
    std::size_t begin = 0;
    for (auto end = name.GetView().find(u'/'); end != name.GetView().npos;
         end = name.GetView().find(u'/', begin)) {
      header.Append(name.GetView().substr(begin, end - begin));
      Vx::UniString value;
      if (orphans.FindValue(header, value)) {
        ArchiveHeaders& headers = MakeChange(number).headers;
        if (headers.Find(header) == nullptr) headers.Put(header, value);
        orphans.Delete(header);
      }
      header.Append(u'/');
      begin = end + 1;
    }
  }
}

void EntrySelection::SettleFolders(ArchiveHeaders& archiveHeaders) {
  ArchiveHeaders orphans(0, 0);
  for (std::size_t number = 0; number < states.size(); ++number) {
    if (states[number] != Dropped) continue;
    const ArchiveIndex::EntryRef entry = GetEntry(number);
    for (const auto& [name, value] : entry->EnumerateHeaders()) {
      if (IsFolder(name) && droppedFolders.Find(name) == nullptr) orphans.Put(name, value);
    }
  }
  PlaceFolders(orphans);
  for (const auto& [name, value] : orphans.EnumeratePairs()) {
    if (archiveHeaders.Find(name) == nullptr) archiveHeaders.Put(name, value);
  }
}

void EntrySelection::Write(ArchiveOBinaryChannel& target, const CopyOptions& options) const {
  for (std::size_t source = 0; source < sources.size(); ++source) {
    const bool isLast = source + 1 == sources.size();
    Write(sources[source], isLast ? states.size() : sources[source + 1].first, target, options);
  }
}

void EntrySelection::Write(const Source& source, std::size_t end, ArchiveOBinaryChannel& target,
                           const CopyOptions& options) const {
  const ArchiveIndex& index = *source.index;
  List<std::size_t> numbers;
  for (std::size_t number = source.first; number < end; ++number) {
    const Change* const change = GetChange(number);
    if (states[number] == Dropped || (change != nullptr && change->target)) continue;
    numbers.push_back((change != nullptr ? change->data : number) - source.first);
  }
  std::optional<ParallelReader> reader;
  if (options.check == CopyCheck::Verify) reader.emplace(index, options.jobs, numbers);
  const auto verify = [&] {
    if (!reader) return;
    static_cast<void>(reader->Next());
    while (!reader->ReadChunk().empty()) {
      if (options.progress) options.progress(0);
    }
  };
  for (std::size_t number = source.first; number < end; ++number) {
    const Change* const change = GetChange(number);
    if (states[number] == Dropped) continue;
    if (change == nullptr) {
      verify();
      CopyEntry(index, number - source.first, target, CopyCheck::Trust, options.progress);
    } else if (!change->target) {
      verify();
      CopyEntry(index, change->data - source.first, change->name, change->headers, target,
                CopyCheck::Trust, options.progress);
    } else {
      const Vx::String bytes =
          change->target->ToBytes(0, Vx::ToEnd, VxCharCodeUTF, OnConversionErrorFail);
      target.PutNextEntry(change->name, change->headers, ArchiveEntry::Stored);
      target.Write(bytes.GetView().data(), static_cast<unsigned int>(bytes.GetView().size()));
      target.CloseEntry();
    }
  }
}

}  // namespace Larkspan::Archive
