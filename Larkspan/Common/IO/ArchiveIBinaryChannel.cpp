#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>

#include "Larkspan/Common/IO/ArchiveEntryImpl.h"
#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/ArchiveFormat.h"
#include "Larkspan/Common/IO/ArchiveHeaderTable.h"
#include "Larkspan/Common/IO/CRC32IBinaryChannel.h"
#include "Larkspan/Common/IO/CountingIBinaryChannel.h"
#include "Larkspan/Common/IO/DigestIBinaryChannel.h"
#include "Larkspan/Common/IO/InflaterIBinaryChannel.h"
#include "Larkspan/Common/IO/JavaDataInputProtocolX.h"
#include "foundation/Vx/ChunkedIBinarySubChannel.h"
#include "foundation/Vx/EndOfInputException.h"
#include "foundation/Vx/IBinaryChannelUtilities.h"

namespace Larkspan::Common::IO {
namespace {

// The length of a name, and the longest one.
constexpr unsigned int MaxTailSize = 2 + 65535;

constexpr const char* EmptyHeaderName = "Invalid archive header name: name is empty.";

void CheckMagic(Vx::IChannelX& channel) {
  char magic[ArchiveFormat::MagicLength + 1] = {};
  const unsigned int count =
      Vx::IBinaryChannelUtilities::ReadFully(channel, magic, ArchiveFormat::MagicLength);
  magic[count] = 0;
  if (std::strcmp(magic, ArchiveFormat::Magic) != 0) {
    throw ArchiveException("Failed to read archive header: invalid archive header magic.", __FILE__,
                           __LINE__);
  }
}

// Gives whether the version is the one that is written here.
bool CheckVersion(Vx::IChannelX& channel) {
  unsigned int major = 0;
  unsigned int minor = 0;
  channel.Read(major);
  channel.Read(minor);
  if (major != ArchiveFormat::MajorVersion && minor != ArchiveFormat::MinorVersion) {
    throw ArchiveException("Failed to read archive header: unsupported archive version read.",
                           __FILE__, __LINE__);
  }
  return major == ArchiveFormat::MajorVersion && minor == ArchiveFormat::MinorVersion;
}

// The CRC-32 of a part of the header block, and whether all of it is zero.
struct BlockDigest {
  void Update(const char* data, unsigned int size) noexcept {
    sum.Update(data, size);
    isZero = isZero && std::all_of(data, data + size, [](char byte) { return byte == 0; });
  }
  void Reset() noexcept { *this = BlockDigest(); }

  CRC32 sum;
  bool isZero = true;
};

class BlockInput final : public DigestIBinaryChannel<BlockDigest> {
 public:
  explicit BlockInput(Vx::IBinaryChannel& channel) noexcept : DigestIBinaryChannel(channel) {}

  using DigestIBinaryChannel::ResetDigest;
  [[nodiscard]] bool IsZero() const noexcept { return GetDigest().isZero; }
  [[nodiscard]] unsigned int GetSum() const noexcept { return GetDigest().sum.GetValue(); }
};

// Judges the promise of a seal while the header's pairs go by.
class PromiseCheck final {
 public:
  explicit PromiseCheck(unsigned __int64 offset) noexcept : previousOffset(offset) {}

  // A pair, and the offset and the sum of all pairs behind it.
  void Take(const Vx::UniString& name, const Vx::UniString& value, unsigned __int64 offset,
            unsigned int sum) {
    // Nothing but the promise itself stands outside the sum, and it can be written in one way only.
    fits = false;
    if (name == ArchiveSeal::HeaderName) {
      promise = ArchiveSeal::ParsePromise(value);
      fits = promise == previousSum && offset - previousOffset == PromiseSize;
    }
    previousOffset = offset;
    previousSum = sum;
  }

  [[nodiscard]] ArchiveEnd::HeaderCheck Judge(bool restIsAsWritten) const noexcept {
    if (!promise) return ArchiveEnd::HeaderCheck::None;
    const bool right = fits && restIsAsWritten;
    return right ? ArchiveEnd::HeaderCheck::Right : ArchiveEnd::HeaderCheck::Wrong;
  }

 private:
  static constexpr unsigned int PromiseSize = 2 + 4 + 2 + 10;

  unsigned __int64 previousOffset;
  unsigned int previousSum = 0;
  std::optional<unsigned int> promise;
  bool fits = false;
};

// Keeps the bytes of an entry's name, and hands those behind it to the seal.
template <class ByteText>
class EntryHeaderInput final : public Vx::IBinaryChannel {
 public:
  EntryHeaderInput(Vx::IBinaryChannel& channel, ArchiveSeal& archiveSeal) noexcept
      : source(channel), seal(archiveSeal) {}

  using IBinaryChannel::Read;
  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size,
                                  ReadSomeModeSelector mode) override {
    const unsigned int count = source.Read(buffer, size, mode);
    if (inName) {
      name.append(buffer, count);
    } else {
      seal.AddHeaderBytes(buffer, count);
    }
    return count;
  }
  [[nodiscard]] unsigned __int64 GetAvailable() const override { return source.GetAvailable(); }
  void Close() override {}

  [[nodiscard]] const ByteText& GetName() const noexcept { return name; }
  void EndName() noexcept {
    seal.AddHeaderBytes(name.data(), static_cast<unsigned int>(name.size()));
    inName = false;
  }

 private:
  Vx::IBinaryChannel& source;
  ArchiveSeal& seal;
  ByteText name;
  bool inName = true;
};

template <class T>
void CheckFooter(T stored, T found, const char* message, unsigned int line = __builtin_LINE()) {
  if (stored != found) throw ArchiveException(message, __FILE__, line);
}

}  // namespace

ArchiveIBinaryChannel::ArchiveIBinaryChannel(const Vx::IBinaryChannelRef& channel)
    : source(channel, "Invalid binary input channel: channel is null.", __FILE__, __LINE__),
      headers(0, 0) {}

ArchiveIBinaryChannel::ArchiveIBinaryChannel(Vx::IBinaryChannel& channel)
    : source(channel), headers(0, 0) {}

ArchiveIBinaryChannel::ArchiveIBinaryChannel(Vx::IBinaryChannel& channel, AtEntrySelector)
    : source(channel), headerRead(true), headers(0, 0) {}

ArchiveIBinaryChannel::~ArchiveIBinaryChannel() = default;

void ArchiveIBinaryChannel::CheckOpened(const char* file, unsigned int line) const {
  if (closed) throw Vx::IOException("Archive binary input channel is closed.", file, line);
}

const ArchiveHeaders& ArchiveIBinaryChannel::GetHeaders(const char* file, unsigned int line) const {
  CheckOpened(file, line);
  ReadArchiveHeader();
  return headers;
}

unsigned int ArchiveIBinaryChannel::GetReservedHeaderSize() const {
  CheckOpened();
  ReadArchiveHeader();
  return reservedHeaderSize;
}

unsigned int ArchiveIBinaryChannel::GetHeaderCount() const {
  return GetHeaders().GetSize();
}

bool ArchiveIBinaryChannel::HasHeaders() const {
  return GetHeaders().GetSize() > 0;
}

ArchiveHeaderIterator ArchiveIBinaryChannel::EnumerateHeaders() const& {
  return GetHeaders().EnumeratePairs();
}

bool ArchiveIBinaryChannel::ConstainsHeader(const Vx::UniString& name) const {
  CheckName(name, EmptyHeaderName);
  return GetHeaders().Find(name) != nullptr;
}

bool ArchiveIBinaryChannel::GetHeader(const Vx::UniString& name, Vx::UniString& value) const {
  CheckName(name, EmptyHeaderName);
  return GetHeaders().FindValue(name, value);
}

Vx::UniString ArchiveIBinaryChannel::GetHeader(const Vx::UniString& name) const {
  Vx::UniString value;
  GetHeader(name, value);
  return value;
}

ArchiveIBinaryChannel::EntryRef ArchiveIBinaryChannel::GetNextEntry() {
  CheckOpened();
  ReadArchiveHeader();
  if (const EntryRef entry = currentEntry; entry) CloseEntry(entry);
  return StartEntry();
}

bool ArchiveIBinaryChannel::HasCurrentEntry() const {
  CheckOpened();
  return !currentEntry.IsEmpty();
}

ArchiveIBinaryChannel::EntryRef ArchiveIBinaryChannel::GetCurrentEntry() const {
  CheckOpened();
  return currentEntry;
}

void ArchiveIBinaryChannel::CloseEntry() {
  CheckOpened();
  if (const EntryRef entry = currentEntry; entry) CloseEntry(entry);
}

unsigned int ArchiveIBinaryChannel::Read(char* buffer, unsigned int size,
                                         ReadSomeModeSelector mode) {
  CheckOpened();
  return crcChannel ? crcChannel->Read(buffer, size, mode) : 0;
}

unsigned __int64 ArchiveIBinaryChannel::GetAvailable() const {
  CheckOpened();
  return crcChannel ? crcChannel->GetAvailable() : 0;
}

void ArchiveIBinaryChannel::Close() {
  if (closed) return;
  if (crcChannel) {
    const Vx::IBinaryChannelRef entryChannel = std::exchange(crcChannel, Vx::IBinaryChannelRef());
    currentEntry.Reset();
    try {
      entryChannel->Close();
    } catch (...) {
      // Damage in the entry does not keep the source open.
      GetInputChannel().Close();
      closed = true;
      throw;
    }
  }
  GetInputChannel().Close();
  closed = true;
}

void ArchiveIBinaryChannel::ReadArchiveHeader() {
  if (headerRead) return;
  CountingIBinaryChannel counter(GetInputChannel());
  BlockInput block(counter);
  Vx::IChannelX channel(block, JavaDataInputProtocolX::GetInstance());
  CheckMagic(channel);
  bool asWritten = CheckVersion(channel);
  channel.Read(reservedHeaderSize);
  unsigned int count = 0;
  channel.Read(count);
  PromiseCheck promise(counter.GetCount());
  block.ResetDigest();
  ReadPairs(channel, count, [&](const Vx::UniString& name, const Vx::UniString& value) {
    headers.Put(name, value);
    promise.Take(name, value, counter.GetCount(), block.GetSum());
  });
  if (reservedHeaderSize != 0) {
    const unsigned __int64 headerSize = counter.GetCount();
    if (reservedHeaderSize < headerSize) {
      throw ArchiveException(
          "Failed to read archive header: archive header size exceeds the specified header size.",
          __FILE__, __LINE__);
    }
    block.ResetDigest();
    const unsigned __int64 fill = reservedHeaderSize - headerSize;
    endsInHeader = channel.Skip(fill) != fill;
    asWritten &= !endsInHeader && fill != 0 && block.IsZero();
  }
  end.headerCheck = promise.Judge(asWritten);
  headerRead = true;
}

void ArchiveIBinaryChannel::ReadArchiveHeader() const {
  const_cast<ArchiveIBinaryChannel*>(this)->ReadArchiveHeader();
}

ArchiveIBinaryChannel::EntryRef ArchiveIBinaryChannel::StartEntry() {
  EntryHeaderInput<ByteText> input(GetInputChannel(), seal);
  Vx::IChannelX channel(input, JavaDataInputProtocolX::GetInstance());
  Vx::UniString name;
  try {
    ReadUTF(channel, name);
  } catch (const Vx::EndOfInputException&) {
    // The archive has no end marker: where no further name can be read, it ends.
    SetEnd(input.GetName());
    return EntryRef();
  } catch (const Vx::IOException&) {
    KeepTail(input.GetName());
    return EntryRef();
  }
  if (!tail.empty()) {
    // That was not the end after all, and no seal fits any more.
    seal.AddHeaderBytes(tail.data(), static_cast<unsigned int>(tail.size()));
    tail.clear();
    end = {ArchiveEnd::State::Unknown, end.headerCheck, 0};
  }
  input.EndName();
  if (name.IsEmpty()) {
    throw ArchiveException("Failed to read archive entry: invalid entry name.", __FILE__, __LINE__);
  }
  unsigned int method = 0;
  channel.Read(method);
  if (method != ArchiveEntry::Deflated && method != ArchiveEntry::Stored) {
    throw ArchiveException("Failed to read archive entry: invalid entry method.", __FILE__,
                           __LINE__);
  }
  auto* const newEntry = Vx::New<ArchiveEntryImpl>(name, static_cast<ArchiveEntry::Method>(method));
  EntryRef entry(newEntry);
  ReadHeaders(channel, [newEntry](const Vx::UniString& headerName, const Vx::UniString& value) {
    newEntry->PutHeader(headerName, value);
  });

  framing = Vx::IBinaryChannelRef(Vx::New<Vx::ChunkedIBinarySubChannel>(
      GetInputChannel(), JavaDataInputProtocolX::GetInstance()));
  archivedSizeCounter = Vx::IBinaryChannelRef(Vx::New<CountingIBinaryChannel>(framing));
  Vx::IBinaryChannelRef plain = archivedSizeCounter;
  if (method == ArchiveEntry::Deflated) {
    if (keptInflater) {
      static_cast<InflaterIBinaryChannel&>(*keptInflater).Restart(archivedSizeCounter);
    } else {
      keptInflater = Vx::IBinaryChannelRef(Vx::New<InflaterIBinaryChannel>(
          archivedSizeCounter, ArchiveFormat::CompressionBufferSize));
    }
    plain = keptInflater;
  }
  sizeCounter = Vx::IBinaryChannelRef(Vx::New<CountingIBinaryChannel>(plain));
  crcChannel = Vx::IBinaryChannelRef(Vx::New<CRC32IBinaryChannel>(sizeCounter));
  footerFields = 0;
  decodedWhole = placeLost = false;
  currentEntry = entry;
  return entry;
}

// `entry` is the current entry, held by the caller.
void ArchiveIBinaryChannel::CloseEntry(const EntryRef& entry) {
  if (crcChannel) {
    char dropped[4096];
    while (crcChannel->Read(dropped, sizeof(dropped), ReadSome) != 0) {
    }
  }
  counted = {static_cast<CountingIBinaryChannel&>(*archivedSizeCounter).GetCount(),
             static_cast<CountingIBinaryChannel&>(*sizeCounter).GetCount(),
             static_cast<CRC32IBinaryChannel&>(*crcChannel).GetCRC()};
  crcChannel->Close();
  crcChannel.Reset();
  decodedWhole = true;

  ReadFooterField(claimed.archivedSize);
  CheckFooter(claimed.archivedSize, counted.archivedSize,
              "Failed to read archive entry: entry archived size check failed.");
  ReadFooterField(claimed.size);
  CheckFooter(claimed.size, counted.size, "Failed to read archive entry: entry size check failed.");
  ReadFooterField(claimed.crc);
  CheckFooter(claimed.crc, counted.crc, "Failed to read archive entry: entry crc check failed.");
  CloseWithClaims(entry, true);
}

void ArchiveIBinaryChannel::LeaveEntry() {
  CheckOpened();
  const EntryRef entry = currentEntry;
  if (!entry) return;
  crcChannel.Reset();
  if (!PassToFooterEnd() || !IsPlausible(entry->GetMethod())) {
    throw ArchiveException("Failed to leave archive entry: its framing is broken.", __FILE__,
                           __LINE__);
  }
  CloseWithClaims(entry, false);
}

template <class T>
void ArchiveIBinaryChannel::ReadFooterField(T& field) {
  Vx::IChannelX channel(GetInputChannel(), JavaDataInputProtocolX::GetInstance());
  placeLost = true;
  channel.Read(field);
  placeLost = false;
  ++footerFields;
}

// Goes from anywhere in the open entry to behind its footer; false if that can't be found.
bool ArchiveIBinaryChannel::PassToFooterEnd() {
  if (placeLost || !static_cast<Vx::ChunkedIBinarySubChannel&>(*framing).SkipRest()) return false;
  try {
    if (footerFields == 0) ReadFooterField(claimed.archivedSize);
    if (footerFields == 1) ReadFooterField(claimed.size);
    if (footerFields == 2) ReadFooterField(claimed.crc);
  } catch (const Vx::EndOfInputException&) {
    return false;
  }
  return true;
}

// Whether what was taken for the footer is one. A damaged length of a frame leads anywhere, perhaps
// to an archive that is the data of an entry.
bool ArchiveIBinaryChannel::IsPlausible(ArchiveEntry::Method method) const {
  const auto passed = static_cast<Vx::ChunkedIBinarySubChannel&>(*framing).GetPassedSize();
  if (claimed.archivedSize == passed) return true;
  // The damage is in the archived size itself if everything else fits.
  if (method == ArchiveEntry::Stored && claimed.size == passed) return true;
  return decodedWhole && counted.size != 0 && claimed.size == counted.size &&
         claimed.crc == counted.crc;
}

void ArchiveIBinaryChannel::CloseWithClaims(const EntryRef& entry, bool verified) {
  static_cast<ArchiveEntryImpl&>(*entry).Close(claimed.archivedSize, claimed.size, claimed.crc,
                                               verified);
  seal.AddFooter(claimed.size, claimed.crc);
  currentEntry.Reset();
}

// `unread` is what could be had of a name.
void ArchiveIBinaryChannel::KeepTail(const ByteText& unread) {
  tail.append(unread, 0, MaxTailSize - tail.size());
  end.tailSize = static_cast<unsigned int>(tail.size());
}

void ArchiveIBinaryChannel::SetEnd(const ByteText& unread) {
  using enum ArchiveEnd::State;
  KeepTail(unread);
  const bool promised = end.IsSealPromised();
  if (!ArchiveSeal::HasMark(tail)) {
    const auto unsealed = endsInHeader ? EndsInHeader : EndsAtFooter;
    end.state = promised ? PromisedButMissing : tail.empty() ? unsealed : TrailingBytes;
  } else if (!seal.Matches(tail)) {
    end.state = SealedWrong;
  } else {
    end.state = promised ? SealedRight : SealWithoutPromise;
  }
}

}  // namespace Larkspan::Common::IO
