#include "Larkspan/Archive/ArchiveIndex.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "Larkspan/Archive/BlockReader.h"
#include "Larkspan/Archive/EntryStream.h"
#include "Larkspan/Archive/EntryWalk.h"
#include "Larkspan/Common/IO/ArchiveEntryImpl.h"
#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/ArchiveHeaderTable.h"
#include "Larkspan/Common/IO/CRC32IBinaryChannel.h"
#include "Larkspan/Common/IO/CRC32OBinaryChannel.h"
#include "Larkspan/Common/IO/JavaDataInputProtocolX.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolUtils.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolX.h"
#include "foundation/Vx/BufferedIBinaryChannel.h"
#include "foundation/Vx/BufferedOBinaryChannel.h"
#include "foundation/Vx/ConversionErrorException.h"
#include "foundation/Vx/EndOfInputException.h"
#include "foundation/Vx/IllegalArgumentException.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"

namespace Larkspan::Archive {
namespace {

using Common::IO::ArchiveEntry;
using Common::IO::ArchiveEntryImpl;
using Common::IO::ArchiveException;
using Common::IO::JavaDataInputProtocolX;
using Common::IO::JavaDataOutputProtocolX;

constexpr unsigned int WindowSize = 0x10000;
constexpr char Magic[] = "LarkspanIndex";
constexpr unsigned int MagicLength = sizeof(Magic) - 1;
constexpr unsigned int Version = 1;

// What tells an archive from another or from its former self: bytes at its beginning and its end.
constexpr unsigned int HeadSize = 0x1000;
constexpr unsigned int TailSize = 64;

[[noreturn]] void FailForeign(unsigned int line) {
  throw ArchiveException("Failed to use archive index: it is not the index of this archive.",
                         __FILE__, line);
}

[[noreturn]] void FailDamaged(unsigned int line) {
  throw ArchiveException("Failed to load archive index: it is damaged.", __FILE__, line);
}

}  // namespace

ArchiveIndex::ArchiveIndex(const RandomInput& archive) : input(archive), headers(0, 0) {
  EntryWalk walk(input);
  for (const auto& [name, value] : walk.GetArchive().EnumerateHeaders()) headers.Put(name, value);
  for (unsigned __int64 text = 0; walk.Next(&texts); text = texts.size()) {
    walk.FindEnd();
    places.push_back({walk.GetPlace(), text});
  }
  end = walk.GetArchive().GetEnd();
  SortNames();
}

ArchiveIndex::ArchiveIndex(const RandomInput& archive, Vx::IBinaryChannel& saved)
    : input(archive), headers(0, 0) {
  try {
    Load(saved);
  } catch (const Vx::EndOfInputException&) {
    FailDamaged(__LINE__);
  } catch (const Vx::ConversionErrorException&) {
    FailDamaged(__LINE__);
  }
  SortNames();
}

ArchiveIndex::~ArchiveIndex() = default;

void ArchiveIndex::Save(Vx::OBinaryChannel& target) const {
  Vx::BufferedOBinaryChannel buffered(target, WindowSize);
  Common::IO::CRC32OBinaryChannel sum(buffered);
  Vx::OChannelX channel(sum, JavaDataOutputProtocolX::GetInstance());
  channel.WriteBin(Magic, MagicLength);
  channel.Write(Version);
  channel.Write(input.GetSize());
  channel.Write(SumArchive());
  channel.Write(static_cast<unsigned int>(end.state));
  channel.Write(static_cast<unsigned int>(end.headerCheck));
  channel.Write(end.tailSize);
  channel.Write(headers.GetSize());
  Common::IO::WriteHeaders(channel, headers.EnumeratePairs());
  channel.Write(static_cast<unsigned __int64>(places.size()));
  for (const Place& place : places) {
    channel.Write(place.header);
    channel.Write(place.data);
    channel.Write(place.end);
    channel.Write(place.archivedSize);
    channel.Write(place.size);
    channel.Write(place.crc);
    channel.Write(static_cast<unsigned int>(place.method));
    const std::string_view text = GetText(place);
    channel.WriteBin(text.data(), static_cast<unsigned int>(text.size()));
  }
  channel.Write(sum.GetCRC());
  channel.Flush();
}

void ArchiveIndex::Load(Vx::IBinaryChannel& saved) {
  Vx::BufferedIBinaryChannel buffered(saved, WindowSize);
  Common::IO::CRC32IBinaryChannel sum(buffered);
  Vx::IChannelX channel(sum, JavaDataInputProtocolX::GetInstance());
  const auto read = [&channel]<class T>(T) {
    T value = 0;
    channel.Read(value);
    return value;
  };
  std::array<char, MagicLength> magic = {};
  if (channel.ReadBin(magic.data(), MagicLength) != MagicLength ||
      std::memcmp(magic.data(), Magic, MagicLength) != 0 || read(0U) != Version) {
    FailDamaged(__LINE__);
  }
  if (read(0ULL) != input.GetSize() || read(0U) != SumArchive()) FailForeign(__LINE__);
  end.state = static_cast<Common::IO::ArchiveEnd::State>(read(0U));
  end.headerCheck = static_cast<Common::IO::ArchiveEnd::HeaderCheck>(read(0U));
  end.tailSize = read(0U);
  Common::IO::ReadHeaders(channel, [this](const Vx::UniString& name, const Vx::UniString& value) {
    headers.Put(name, value);
  });
  for (unsigned __int64 left = read(0ULL); left > 0; --left) LoadPlace(channel);
  const unsigned int found = sum.GetCRC();
  if (read(0U) != found) FailDamaged(__LINE__);
}

void ArchiveIndex::LoadPlace(Vx::IChannelX& channel) {
  Place place = {};
  unsigned int method = 0;
  channel.Read(place.header);
  channel.Read(place.data);
  channel.Read(place.end);
  channel.Read(place.archivedSize);
  channel.Read(place.size);
  channel.Read(place.crc);
  channel.Read(method);
  place.method = static_cast<ArchiveEntry::Method>(method);
  place.text = texts.size();
  const bool known = method == ArchiveEntry::Deflated || method == ArchiveEntry::Stored;
  const unsigned __int64 begin = places.empty() ? 0 : places.back().end;
  if (!known || place.header < begin || place.data < place.header || place.end < place.data ||
      place.end > input.GetSize()) {
    FailDamaged(__LINE__);
  }
  // As much memory as there are bytes, whatever the offsets say.
  std::array<char, 0x1000> piece;
  for (unsigned __int64 left = place.data - place.header; left > 0;) {
    const auto most = static_cast<unsigned int>(std::min<unsigned __int64>(left, piece.size()));
    if (channel.ReadBin(piece.data(), most) != most) FailDamaged(__LINE__);
    texts.append(piece.data(), most);
    left -= most;
  }
  places.push_back(place);
}

unsigned int ArchiveIndex::SumArchive() const {
  Common::IO::CRC32 sum;
  std::array<char, HeadSize> bytes;
  sum.Update(bytes.data(), input.ReadAt(0, bytes.data(), HeadSize));
  const unsigned __int64 size = input.GetSize();
  const unsigned __int64 tail = std::min<unsigned __int64>(size, TailSize);
  sum.Update(bytes.data(),
             input.ReadAt(size - tail, bytes.data(), static_cast<unsigned int>(tail)));
  return sum.GetValue();
}

void ArchiveIndex::SortNames() {
  names.reserve(places.size());
  for (unsigned int number = 0; number < places.size(); ++number) {
    names.push_back({GetName(number).GenerateHashValue(), number});
  }
  std::ranges::sort(names, [](const NameHash& first, const NameHash& second) {
    return first.hash != second.hash ? first.hash < second.hash : first.number > second.number;
  });
}

const ArchiveIndex::Place& ArchiveIndex::GetPlace(std::size_t number, unsigned int line) const {
  if (number >= places.size()) {
    throw Vx::IllegalArgumentException("Invalid archive entry number.", __FILE__, line);
  }
  return places[number];
}

std::string_view ArchiveIndex::GetText(const Place& place) const noexcept {
  return std::string_view(texts).substr(place.text, place.data - place.header);
}

ArchiveIndex::EntryRef ArchiveIndex::GetEntry(std::size_t number) const {
  const Place& place = GetPlace(number);
  const std::string_view text = GetText(place);
  Vx::MemoryIBinaryChannel bytes(text.data(), static_cast<unsigned int>(text.size()));
  Vx::IChannelX channel(bytes, JavaDataInputProtocolX::GetInstance());
  const Vx::UniString name = Common::IO::ReadUTF(channel);
  auto* const entry = Vx::New<ArchiveEntryImpl>(name, place.method);
  EntryRef reference(entry);
  unsigned int method = 0;
  channel.Read(method);
  Common::IO::ReadHeaders(channel, [entry](const Vx::UniString& key, const Vx::UniString& value) {
    entry->PutHeader(key, value);
  });
  entry->Close(place.archivedSize, place.size, place.crc, false);
  return reference;
}

Vx::UniString ArchiveIndex::GetName(std::size_t number) const {
  const std::string_view text = GetText(GetPlace(number));
  Vx::MemoryIBinaryChannel bytes(text.data(), static_cast<unsigned int>(text.size()));
  Vx::IChannelX channel(bytes, JavaDataInputProtocolX::GetInstance());
  return Common::IO::ReadUTF(channel);
}

std::optional<std::size_t> ArchiveIndex::Find(const Vx::UniString& name) const {
  const unsigned int hash = name.GenerateHashValue();
  auto found = std::ranges::lower_bound(names, hash, {}, &NameHash::hash);
  for (; found != names.end() && found->hash == hash; ++found) {
    if (GetName(found->number) == name) return found->number;
  }
  return std::nullopt;
}

Vx::IBinaryChannelRef ArchiveIndex::OpenEntry(std::size_t number) const {
  const Place& place = GetPlace(number);
  return Vx::IBinaryChannelRef(Vx::New<EntryStream>(input, place, GetText(place)));
}

unsigned int ArchiveIndex::ReadRange(std::size_t number, unsigned __int64 offset, char* buffer,
                                     unsigned int size) const {
  const Place& place = GetPlace(number);
  if (offset >= place.size) return 0;
  const BlockReader::Frames frames = BlockReader::FindBlocks(input, place);
  BlockReader reader;
  BlockReader::Block decoded;
  const Vx::ByteArray room = frames.empty() ? nullptr : Vx::NewByteArray(BlockReader::BlockSize);
  unsigned int total = 0;
  while (total < size && offset < place.size && !frames.empty()) {
    const std::size_t block = offset / BlockReader::BlockSize;
    if (!reader.Decode(input, place, frames, block, room.get(), decoded)) break;
    const std::string_view plain = decoded.plain.substr(offset % BlockReader::BlockSize);
    const auto count = static_cast<unsigned int>(std::min<std::size_t>(size - total, plain.size()));
    std::memcpy(buffer + total, plain.data(), count);
    total += count;
    offset += count;
  }
  if (total == size || offset >= place.size) return total;
  // Not made of blocks, or damaged: from the beginning, up to the range.
  EntryStream channel(input, place, GetText(place));
  Vx::IChannelX plain(channel, JavaDataInputProtocolX::GetInstance());
  if (plain.Skip(offset) != offset) return total;
  return total + channel.Read(buffer + total, size - total, Vx::IBinaryChannel::ReadAll);
}

}  // namespace Larkspan::Archive
