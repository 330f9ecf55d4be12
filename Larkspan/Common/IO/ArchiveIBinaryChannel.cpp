#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"

#include <cstring>
#include <utility>

#include "Larkspan/Common/IO/ArchiveEntryImpl.h"
#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/ArchiveFormat.h"
#include "Larkspan/Common/IO/ArchiveHeaderTable.h"
#include "Larkspan/Common/IO/CRC32IBinaryChannel.h"
#include "Larkspan/Common/IO/CountingIBinaryChannel.h"
#include "Larkspan/Common/IO/InflaterIBinaryChannel.h"
#include "Larkspan/Common/IO/JavaDataInputProtocolX.h"
#include "foundation/Vx/ChunkedIBinarySubChannel.h"
#include "foundation/Vx/IBinaryChannelUtilities.h"

namespace Larkspan::Common::IO {
namespace {

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

void CheckVersion(Vx::IChannelX& channel) {
  unsigned int major = 0;
  unsigned int minor = 0;
  channel.Read(major);
  channel.Read(minor);
  if (major != ArchiveFormat::MajorVersion && minor != ArchiveFormat::MinorVersion) {
    throw ArchiveException("Failed to read archive header: unsupported archive version read.",
                           __FILE__, __LINE__);
  }
}

// Reads one field of a footer and compares it with what was found in the data.
template <class T>
void CheckFooter(Vx::IChannelX& channel, T found, const char* message, unsigned int line) {
  T stored = 0;
  channel.Read(stored);
  if (stored != found) throw ArchiveException(message, __FILE__, line);
}

}  // namespace

ArchiveIBinaryChannel::ArchiveIBinaryChannel(
    const Vx::Ref<Vx::IBinaryChannel, Vx::AtomicCounter>& channel)
    : source(channel, "Invalid binary input channel: channel is null.", __FILE__, __LINE__),
      headers(0, 0) {}

ArchiveIBinaryChannel::ArchiveIBinaryChannel(Vx::IBinaryChannel& channel)
    : source(channel), headers(0, 0) {}

ArchiveIBinaryChannel::~ArchiveIBinaryChannel() = default;

void ArchiveIBinaryChannel::CheckOpened(const char* file, unsigned int line) const {
  if (closed) throw Vx::IOException("Archive binary input channel is closed.", file, line);
}

unsigned int ArchiveIBinaryChannel::GetReservedHeaderSize() const {
  CheckOpened(__FILE__, __LINE__);
  ReadArchiveHeader();
  return reservedHeaderSize;
}

unsigned int ArchiveIBinaryChannel::GetHeaderCount() const {
  CheckOpened(__FILE__, __LINE__);
  ReadArchiveHeader();
  return headers.GetSize();
}

bool ArchiveIBinaryChannel::HasHeaders() const {
  CheckOpened(__FILE__, __LINE__);
  ReadArchiveHeader();
  return headers.GetSize() > 0;
}

ArchiveHeaderIterator ArchiveIBinaryChannel::EnumerateHeaders() const {
  CheckOpened(__FILE__, __LINE__);
  ReadArchiveHeader();
  return headers.EnumeratePairs();
}

bool ArchiveIBinaryChannel::ConstainsHeader(const Vx::UniString& name) const {
  CheckName(name, EmptyHeaderName, __FILE__, __LINE__);
  CheckOpened(__FILE__, __LINE__);
  ReadArchiveHeader();
  return HasHeader(headers, name);
}

bool ArchiveIBinaryChannel::GetHeader(const Vx::UniString& name, Vx::UniString& value) const {
  CheckName(name, EmptyHeaderName, __FILE__, __LINE__);
  CheckOpened(__FILE__, __LINE__);
  ReadArchiveHeader();
  return FindHeader(headers, name, value);
}

Vx::UniString ArchiveIBinaryChannel::GetHeader(const Vx::UniString& name) const {
  Vx::UniString value;
  GetHeader(name, value);
  return value;
}

ArchiveIBinaryChannel::EntryRef ArchiveIBinaryChannel::GetNextEntry() {
  CheckOpened(__FILE__, __LINE__);
  ReadArchiveHeader();
  if (const EntryRef entry = currentEntry; entry) CloseEntry(entry);
  return StartEntry();
}

bool ArchiveIBinaryChannel::HasCurrentEntry() const {
  CheckOpened(__FILE__, __LINE__);
  return !currentEntry.IsEmpty();
}

ArchiveIBinaryChannel::EntryRef ArchiveIBinaryChannel::GetCurrentEntry() const {
  CheckOpened(__FILE__, __LINE__);
  return currentEntry;
}

void ArchiveIBinaryChannel::CloseEntry() {
  CheckOpened(__FILE__, __LINE__);
  if (const EntryRef entry = currentEntry; entry) CloseEntry(entry);
}

unsigned int ArchiveIBinaryChannel::Read(char* buffer, unsigned int size,
                                         ReadSomeModeSelector mode) {
  CheckOpened(__FILE__, __LINE__);
  return crcChannel ? crcChannel->Read(buffer, size, mode) : 0;
}

unsigned __int64 ArchiveIBinaryChannel::GetAvailable() const {
  CheckOpened(__FILE__, __LINE__);
  return crcChannel ? crcChannel->GetAvailable() : 0;
}

void ArchiveIBinaryChannel::Close() {
  if (closed) return;
  if (crcChannel) {
    const ChannelRef entryChannel = std::exchange(crcChannel, ChannelRef());
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
  Vx::IChannelX channel(counter, JavaDataInputProtocolX::GetInstance());
  CheckMagic(channel);
  CheckVersion(channel);
  channel.Read(reservedHeaderSize);
  ReadHeaders(channel, [this](const Vx::UniString& name, const Vx::UniString& value) {
    headers.Put(name, value);
  });
  if (reservedHeaderSize != 0) {
    const unsigned __int64 headerSize = counter.GetCount();
    if (reservedHeaderSize < headerSize) {
      throw ArchiveException(
          "Failed to read archive header: archive header size exceeds the specified header size.",
          __FILE__, __LINE__);
    }
    channel.Skip(reservedHeaderSize - headerSize);
  }
  headerRead = true;
}

void ArchiveIBinaryChannel::ReadArchiveHeader() const {
  const_cast<ArchiveIBinaryChannel*>(this)->ReadArchiveHeader();
}

ArchiveIBinaryChannel::EntryRef ArchiveIBinaryChannel::StartEntry() {
  Vx::IChannelX channel(GetInputChannel(), JavaDataInputProtocolX::GetInstance());
  Vx::UniString name;
  try {
    ReadUTF(channel, name);
  } catch (const Vx::IOException&) {
    // The archive has no end marker: where no further name can be read, it ends.
    return EntryRef();
  }
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

  const ChannelRef framing(Vx::New<Vx::ChunkedIBinarySubChannel>(
      GetInputChannel(), JavaDataInputProtocolX::GetInstance()));
  archivedSizeCounter = ChannelRef(Vx::New<CountingIBinaryChannel>(framing));
  ChannelRef plain = archivedSizeCounter;
  if (method == ArchiveEntry::Deflated) {
    plain = ChannelRef(
        Vx::New<InflaterIBinaryChannel>(archivedSizeCounter, ArchiveFormat::CompressionBufferSize));
  }
  sizeCounter = ChannelRef(Vx::New<CountingIBinaryChannel>(plain));
  crcChannel = ChannelRef(Vx::New<CRC32IBinaryChannel>(sizeCounter));
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
  const auto archivedSize = static_cast<CountingIBinaryChannel&>(*archivedSizeCounter).GetCount();
  const auto size = static_cast<CountingIBinaryChannel&>(*sizeCounter).GetCount();
  const auto crc = static_cast<CRC32IBinaryChannel&>(*crcChannel).GetCRC();
  crcChannel->Close();
  crcChannel.Reset();

  Vx::IChannelX channel(GetInputChannel(), JavaDataInputProtocolX::GetInstance());
  CheckFooter(channel, archivedSize,
              "Failed to read archive entry: entry archived size check failed.", __LINE__);
  CheckFooter(channel, size, "Failed to read archive entry: entry size check failed.", __LINE__);
  CheckFooter(channel, crc, "Failed to read archive entry: entry crc check failed.", __LINE__);
  static_cast<ArchiveEntryImpl&>(*entry).Close(archivedSize, size, crc);
  currentEntry.Reset();
}

}  // namespace Larkspan::Common::IO
