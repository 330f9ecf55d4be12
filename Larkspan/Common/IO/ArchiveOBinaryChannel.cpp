#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"

#include <algorithm>

#include "Larkspan/Common/IO/ArchiveEntryImpl.h"
#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/ArchiveFormat.h"
#include "Larkspan/Common/IO/ArchiveHeaderSize.h"
#include "Larkspan/Common/IO/ArchiveHeaderTable.h"
#include "Larkspan/Common/IO/CRC32OBinaryChannel.h"
#include "Larkspan/Common/IO/CountingOBinaryChannel.h"
#include "Larkspan/Common/IO/DeflaterOBinaryChannel.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolUtils.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolX.h"
#include "foundation/Vx/ChunkedOBinarySubChannel.h"
#include "foundation/Vx/IllegalArgumentException.h"

namespace Larkspan::Common::IO {
namespace {

constexpr const char* EmptyHeaderName = "Invalid archive header name: name is empty.";

unsigned int CheckedHeaderSize(unsigned int headerSize) {
  if (!IsReservedHeaderSize(headerSize)) {
    throw Vx::IllegalArgumentException("Invalid header size: header size is too small.", __FILE__,
                                       __LINE__);
  }
  return headerSize;
}

void WriteFill(Vx::OChannelX& channel, const CountingOBinaryChannel& counter,
               unsigned int headerSize) {
  const char zeros[128] = {};
  while (counter.GetCount() < headerSize) {
    channel.WriteBin(zeros, static_cast<unsigned int>(std::min<unsigned __int64>(
                                headerSize - counter.GetCount(), sizeof(zeros))));
  }
}

// Hands what is written to the seal.
class SealedOutput final : public Vx::OBinaryChannel {
 public:
  SealedOutput(Vx::OBinaryChannel& channel, ArchiveSeal& archiveSeal) noexcept
      : target(channel), seal(archiveSeal) {}

  void Write(const char* data, unsigned int size) override {
    target.Write(data, size);
    seal.AddHeaderBytes(data, size);
  }
  void Flush() override { target.Flush(); }
  void Close() override { target.Close(); }

 private:
  Vx::OBinaryChannel& target;
  ArchiveSeal& seal;
};

}  // namespace

ArchiveOBinaryChannel::ArchiveOBinaryChannel(const Vx::OBinaryChannelRef& channel,
                                             unsigned int headerSize)
    : target(channel, "Invalid binary output channel: channel is null.", __FILE__, __LINE__),
      reservedHeaderSize(CheckedHeaderSize(headerSize)),
      headers(0, 0) {}

ArchiveOBinaryChannel::ArchiveOBinaryChannel(Vx::OBinaryChannel& channel, unsigned int headerSize)
    : target(channel), reservedHeaderSize(CheckedHeaderSize(headerSize)), headers(0, 0) {}

ArchiveOBinaryChannel::~ArchiveOBinaryChannel() = default;

void ArchiveOBinaryChannel::CheckOpened(const char* file, unsigned int line) const {
  if (closed) throw Vx::IOException("Archive binary output channel is closed.", file, line);
}

void ArchiveOBinaryChannel::CheckHeaderUpdatable(const char* file, unsigned int line) const {
  if (headerWritten) {
    throw ArchiveException("Archive headers can't be updated, header has already been written.",
                           file, line);
  }
}

void ArchiveOBinaryChannel::CheckEntryStarted(const char* file, unsigned int line) {
  if (!crcChannel) throw ArchiveException("Archive entry hasn't been started yet.", file, line);
}

void ArchiveOBinaryChannel::CheckUnsealed(const char* file, unsigned int line) const {
  if (sealWritten) throw ArchiveException("Archive seal has already been written.", file, line);
}

void ArchiveOBinaryChannel::PutHeader(const Vx::UniString& name, const Vx::UniString& value) {
  CheckName(name, EmptyHeaderName);
  CheckOpened();
  CheckHeaderUpdatable();
  headers.Put(name, value);
}

void ArchiveOBinaryChannel::ClearHeader(const Vx::UniString& name) {
  CheckName(name, EmptyHeaderName);
  CheckOpened();
  CheckHeaderUpdatable();
  headers.Delete(name);
}

void ArchiveOBinaryChannel::ClearHeaders() {
  CheckOpened();
  CheckHeaderUpdatable();
  headers.Clear();
}

unsigned int ArchiveOBinaryChannel::GetHeaderCount() const noexcept {
  return headers.GetSize();
}

bool ArchiveOBinaryChannel::HasHeaders() const noexcept {
  return headers.GetSize() > 0;
}

ArchiveHeaderIterator ArchiveOBinaryChannel::EnumerateHeaders() const& {
  return headers.EnumeratePairs();
}

bool ArchiveOBinaryChannel::ConstainsHeader(const Vx::UniString& name) const {
  CheckName(name, EmptyHeaderName);
  return headers.Find(name) != nullptr;
}

bool ArchiveOBinaryChannel::GetHeader(const Vx::UniString& name, Vx::UniString& value) const {
  CheckName(name, EmptyHeaderName);
  return headers.FindValue(name, value);
}

Vx::UniString ArchiveOBinaryChannel::GetHeader(const Vx::UniString& name) const {
  CheckName(name, EmptyHeaderName);
  return headers.GetValue(name);
}

void ArchiveOBinaryChannel::SetMethod(ArchiveEntry::Method method) {
  if (method != ArchiveEntry::Deflated && method != ArchiveEntry::Stored) {
    throw Vx::IllegalArgumentException("Invalid default archive entry compression method.",
                                       __FILE__, __LINE__);
  }
  defaultMethod = method;
}

ArchiveOBinaryChannel::EntryRef ArchiveOBinaryChannel::PutNextEntry(
    const Vx::UniString& name, const ArchiveHeaders& entryHeaders, ArchiveEntry::Method method) {
  CheckName(name, EmptyEntryName);
  CheckHeaderNames(entryHeaders);
  CheckOpened();
  CheckUnsealed();
  return StartEntry(name, entryHeaders, method == ArchiveEntry::Default ? defaultMethod : method);
}

ArchiveOBinaryChannel::EntryRef ArchiveOBinaryChannel::PutNextEntry(const Vx::UniString& name,
                                                                    ArchiveEntry::Method method) {
  return PutNextEntry(name, ArchiveHeaders(0, 0), method);
}

bool ArchiveOBinaryChannel::HasCurrentEntry() const {
  CheckOpened();
  return !currentEntry.IsEmpty();
}

ArchiveOBinaryChannel::EntryRef ArchiveOBinaryChannel::GetCurrentEntry() const {
  CheckOpened();
  return currentEntry;
}

void ArchiveOBinaryChannel::CloseEntry() {
  CheckOpened();
  if (const EntryRef entry = currentEntry; entry) CloseEntry(entry);
}

ArchiveOBinaryChannel::EntryRef ArchiveOBinaryChannel::PutEncodedEntry(
    const Vx::UniString& name, const ArchiveHeaders& entryHeaders, ArchiveEntry::Method method) {
  CheckName(name, EmptyEntryName);
  CheckHeaderNames(entryHeaders);
  if (method != ArchiveEntry::Deflated && method != ArchiveEntry::Stored) {
    throw Vx::IllegalArgumentException("Invalid archive entry compression method.", __FILE__,
                                       __LINE__);
  }
  CheckOpened();
  CheckUnsealed();
  EntryRef entry = OpenEntry(name, entryHeaders, method);
  isEncoded = true;
  encodedSize = 0;
  frameLeft = 0;
  currentEntry = entry;
  return entry;
}

void ArchiveOBinaryChannel::CheckFramesComplete(const char* file, unsigned int line) const {
  if (!isEncoded) throw ArchiveException("No encoded archive entry is open.", file, line);
  if (frameLeft != 0) {
    throw ArchiveException("A frame of the encoded archive entry is incomplete.", file, line);
  }
}

void ArchiveOBinaryChannel::PutFrame(unsigned int size) {
  CheckOpened();
  CheckFramesComplete();
  if (size == 0) {
    throw Vx::IllegalArgumentException("Invalid frame size: size is 0.", __FILE__, __LINE__);
  }
  JavaDataOutputProtocolX::GetInstance().Write(GetOutputChannel(), size);
  frameLeft = size;
}

void ArchiveOBinaryChannel::CloseEncodedEntry(unsigned __int64 size, unsigned int crc) {
  CheckOpened();
  CheckFramesComplete();
  JavaDataOutputProtocolX::GetInstance().Write(GetOutputChannel(), 0U);
  isEncoded = false;
  Complete(EntryRef(currentEntry), encodedSize, size, crc);
}

void ArchiveOBinaryChannel::PromiseSeal() {
  CheckOpened();
  CheckHeaderUpdatable();
  sealPromised = true;
}

void ArchiveOBinaryChannel::WriteSeal() {
  CheckOpened();
  CheckUnsealed();
  if (!sealPromised) {
    throw ArchiveException("Archive seal can't be written, it hasn't been promised.", __FILE__,
                           __LINE__);
  }
  WriteArchiveHeader();
  CloseEntry();
  const ArchiveSeal::Bytes bytes = seal.Encode();
  GetOutputChannel().Write(bytes.data(), static_cast<unsigned int>(bytes.size()));
  sealWritten = true;
}

void ArchiveOBinaryChannel::Write(const char* data, unsigned int size) {
  CheckOpened();
  if (!isEncoded) {
    CheckEntryStarted();
    crcChannel->Write(data, size);
    return;
  }
  if (size > frameLeft) {
    throw ArchiveException("A frame of the encoded archive entry has no room for the data.",
                           __FILE__, __LINE__);
  }
  GetOutputChannel().Write(data, size);
  frameLeft -= size;
  encodedSize += size;
}

void ArchiveOBinaryChannel::Flush() {
  CheckOpened();
  if (crcChannel) {
    crcChannel->Flush();
  } else {
    WriteArchiveHeader();
  }
  GetOutputChannel().Flush();
}

void ArchiveOBinaryChannel::Close() {
  if (closed) return;
  GetOutputChannel().Close();
  closed = true;
}

void ArchiveOBinaryChannel::WriteArchiveHeader() {
  if (headerWritten) return;
  CountingOBinaryChannel counter(GetOutputChannel());
  Vx::OChannelX channel(counter, JavaDataOutputProtocolX::GetInstance());
  channel.WriteBin(ArchiveFormat::Magic, ArchiveFormat::MagicLength);
  channel.Write(ArchiveFormat::MajorVersion);
  channel.Write(ArchiveFormat::MinorVersion);
  channel.Write(reservedHeaderSize);
  WritePairs(counter);
  if (reservedHeaderSize != 0) {
    // A reserved size can't be checked by what it covers if it covers no fill.
    if (reservedHeaderSize < counter.GetCount() + (sealPromised ? 1 : 0)) {
      throw ArchiveException(
          "Failed to write archive header: archive header size exceeds the specified header size.",
          __FILE__, __LINE__);
    }
    WriteFill(channel, counter, reservedHeaderSize);
  }
  channel.Flush();
  headerWritten = true;
}

void ArchiveOBinaryChannel::WritePairs(Vx::OBinaryChannel& counter) {
  Vx::OChannelX channel(counter, JavaDataOutputProtocolX::GetInstance());
  if (sealPromised) headers.Delete(ArchiveSeal::HeaderName);
  channel.Write(headers.GetSize() + (sealPromised ? 1 : 0));
  CRC32OBinaryChannel sum(counter);
  Vx::OChannelX summed(sum, JavaDataOutputProtocolX::GetInstance());
  WriteHeaders(summed, EnumerateHeaders());
  if (!sealPromised) return;
  const Vx::UniString promise = ArchiveSeal::MakePromise(sum.GetCRC());
  headers.Put(ArchiveSeal::HeaderName, promise);
  WriteUTF(channel, ArchiveSeal::HeaderName);
  WriteUTF(channel, promise);
}

void ArchiveOBinaryChannel::WriteEntryHeader(const EntryRef& entry) {
  SealedOutput sealed(GetOutputChannel(), seal);
  Vx::OChannelX channel(sealed, JavaDataOutputProtocolX::GetInstance());
  WriteUTF(channel, entry->GetName());
  channel.Write(static_cast<unsigned int>(entry->GetMethod()));
  channel.Write(entry->GetHeaderCount());
  WriteHeaders(channel, entry->EnumerateHeaders());
  channel.Flush();
}

void ArchiveOBinaryChannel::WriteEntryFooter(const EntryRef& entry) {
  Vx::OChannelX channel(GetOutputChannel(), JavaDataOutputProtocolX::GetInstance());
  channel.Write(entry->GetArchivedSize());
  channel.Write(entry->GetSize());
  channel.Write(entry->GetCRC());
  seal.AddFooter(entry->GetSize(), entry->GetCRC());
}

ArchiveOBinaryChannel::EntryRef ArchiveOBinaryChannel::OpenEntry(const Vx::UniString& name,
                                                                 const ArchiveHeaders& entryHeaders,
                                                                 ArchiveEntry::Method method) {
  WriteArchiveHeader();
  // `name` may alias the previous entry's name; keep it alive.
  const EntryRef previous = currentEntry;
  if (previous) CloseEntry(previous);
  EntryRef entry(Vx::New<ArchiveEntryImpl>(name, entryHeaders, method));
  WriteEntryHeader(entry);
  return entry;
}

ArchiveOBinaryChannel::EntryRef ArchiveOBinaryChannel::StartEntry(
    const Vx::UniString& name, const ArchiveHeaders& entryHeaders, ArchiveEntry::Method method) {
  EntryRef entry = OpenEntry(name, entryHeaders, method);
  const Vx::OBinaryChannelRef framing(Vx::New<Vx::ChunkedOBinarySubChannel>(
      GetOutputChannel(), JavaDataOutputProtocolX::GetInstance(), ArchiveFormat::ChunkSize));
  archivedSizeCounter = Vx::OBinaryChannelRef(Vx::New<CountingOBinaryChannel>(framing));
  if (method == ArchiveEntry::Stored) {
    deflater.Reset();
  } else if (keptDeflater) {
    static_cast<DeflaterOBinaryChannel&>(*keptDeflater).Restart(archivedSizeCounter);
    deflater = keptDeflater;
  } else {
    deflater = keptDeflater = Vx::OBinaryChannelRef(Vx::New<DeflaterOBinaryChannel>(
        archivedSizeCounter, DeflaterOBinaryChannel::DefaultCompression,
        ArchiveFormat::CompressionBufferSize));
  }
  sizeCounter = Vx::OBinaryChannelRef(
      Vx::New<CountingOBinaryChannel>(deflater ? deflater : archivedSizeCounter));
  crcChannel = Vx::OBinaryChannelRef(Vx::New<CRC32OBinaryChannel>(sizeCounter));
  currentEntry = entry;
  return entry;
}

// `entry` is the current entry, held by the caller.
void ArchiveOBinaryChannel::CloseEntry(const EntryRef& entry) {
  if (isEncoded) {
    throw ArchiveException("An encoded archive entry is open.", __FILE__, __LINE__);
  }
  if (deflater) static_cast<DeflaterOBinaryChannel&>(*deflater).Finish();
  const auto archivedSize = static_cast<CountingOBinaryChannel&>(*archivedSizeCounter).GetCount();
  const auto size = static_cast<CountingOBinaryChannel&>(*sizeCounter).GetCount();
  const auto crc = static_cast<CRC32OBinaryChannel&>(*crcChannel).GetCRC();
  crcChannel->Flush();
  crcChannel->Close();
  crcChannel.Reset();
  Complete(entry, archivedSize, size, crc);
}

void ArchiveOBinaryChannel::Complete(const EntryRef& entry, unsigned __int64 archivedSize,
                                     unsigned __int64 size, unsigned int crc) {
  static_cast<ArchiveEntryImpl&>(*entry).Close(archivedSize, size, crc);
  WriteEntryFooter(entry);
  currentEntry.Reset();
}

}  // namespace Larkspan::Common::IO
