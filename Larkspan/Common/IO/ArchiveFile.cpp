#include "Larkspan/Common/IO/ArchiveFile.h"

#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/ArchiveExtraction.h"
#include "Larkspan/Common/IO/ArchiveFileEntryIBinaryChannel.h"
#include "Larkspan/Common/IO/ArchiveFileReader.h"
#include "Larkspan/Common/IO/ArchiveHeaderTable.h"
#include "Larkspan/Common/IO/ArchiveLock.h"
#include "Larkspan/Common/IO/ArchiveRewrite.h"
#include "Larkspan/Common/IO/ArchiveUpdate.h"
#include "Larkspan/Common/IO/FileIBinaryChannel.h"
#include "Larkspan/Common/IO/LocationChecks.h"
#include "foundation/IO/File.h"
#include "foundation/Vx/IllegalArgumentException.h"

namespace Larkspan::Common::IO {
namespace {

constexpr const char* EmptyHeaderName = "Invalid header name: name is empty.";
constexpr const char* EmptyNameOfEntry = "Invalid entry name: name is empty.";

}  // namespace

ArchiveFile::ArchiveFile(const ::IO::Location& archiveLocation)
    : location(archiveLocation), headers(0, 0), entryIndex(0, 0) {
  CheckMemory(location);
  if (!location.IsValid()) {
    throw Vx::IllegalArgumentException("Invalid archive file location: location is not valid.",
                                       __FILE__, __LINE__);
  }
  if (location.IsEmpty()) {
    throw Vx::IllegalArgumentException("Invalid archive file location: location is empty.",
                                       __FILE__, __LINE__);
  }
  const ::IO::File file(location, ::IO::OnNotFound::Fail);
  if (file.GetStatus() == ::IO::StatusFileNotFound) {
    throw ArchiveException("Failed to create archive file: archive file is not found.", __FILE__,
                           __LINE__);
  }
}

ArchiveFile::~ArchiveFile() {
  closed = true;
}

void ArchiveFile::Close() noexcept {
  lock.reset();
  closed = true;
}

void ArchiveFile::CheckOpened(const char* file, unsigned int line) const {
  if (closed) throw ArchiveException("Archive file is closed.", file, line);
}

const ArchiveHeaders& ArchiveFile::GetHeaders(const char* file, unsigned int line) const {
  CheckOpened(file, line);
  ReadHeaders();
  return headers;
}

const ArchiveFile::EntryList& ArchiveFile::GetEntries(const char* file, unsigned int line) const {
  CheckOpened(file, line);
  ReadEntries();
  return entryList;
}

unsigned int ArchiveFile::GetReservedHeaderSize() const {
  CheckOpened();
  ReadHeaders();
  return reservedHeaderSize;
}

unsigned int ArchiveFile::GetHeaderCount() const {
  return GetHeaders().GetSize();
}

bool ArchiveFile::HasHeaders() const {
  return GetHeaders().GetSize() > 0;
}

ArchiveHeaderIterator ArchiveFile::EnumerateHeaders() const& {
  return GetHeaders().EnumeratePairs();
}

bool ArchiveFile::ConstainsHeader(const Vx::UniString& name) const {
  CheckName(name, EmptyHeaderName);
  return GetHeaders().Find(name) != nullptr;
}

bool ArchiveFile::GetHeader(const Vx::UniString& name, Vx::UniString& value) const {
  CheckName(name, EmptyHeaderName);
  return GetHeaders().FindValue(name, value);
}

Vx::UniString ArchiveFile::GetHeader(const Vx::UniString& name) const {
  Vx::UniString value;
  GetHeader(name, value);
  return value;
}

void ArchiveFile::PutHeader(const Vx::UniString& name, const Vx::UniString& value) {
  CheckName(name, EmptyHeaderName);
  CheckOpened();
  ReadHeaders();
  headers.Put(name, value);
  headersChanged = true;
}

void ArchiveFile::ClearHeader(const Vx::UniString& name) {
  CheckName(name, EmptyHeaderName);
  CheckOpened();
  ReadHeaders();
  headers.Delete(name);
  headersChanged = true;
}

void ArchiveFile::ClearHeaders() {
  CheckOpened();
  ReadHeaders();
  headers.Clear();
  headersChanged = true;
}

bool ArchiveFile::IsUpdated() const {
  CheckOpened();
  return headersRead && headersChanged;
}

bool ArchiveFile::HasEntries() {
  return GetEntries().GetSize() > 0;
}

unsigned int ArchiveFile::GetEntryCount() const {
  return GetEntries().GetSize();
}

ArchiveFile::EntryIterator ArchiveFile::EnumerateEntries() const& {
  return GetEntries().EnumerateElements();
}

bool ArchiveFile::ConstainsEntry(const Vx::UniString& name) const {
  CheckName(name, EmptyNameOfEntry);
  CheckOpened();
  ReadEntries();
  return entryIndex.Find(name) != nullptr;
}

ArchiveFile::EntryRef ArchiveFile::GetEntry(const Vx::UniString& name) const {
  CheckName(name, EmptyNameOfEntry);
  CheckOpened();
  ReadEntries();
  return entryIndex.GetValue(name);
}

ArchiveEnd ArchiveFile::GetEnd() const {
  CheckOpened();
  const_cast<ArchiveFile*>(this)->ReadEnd();
  return end;
}

ArchiveEnd::HeaderCheck ArchiveFile::GetHeaderCheck() const {
  CheckOpened();
  ReadHeaders();
  return headerCheck;
}

Vx::IBinaryChannelRef ArchiveFile::GetInputChannel(const EntryRef& entry) const {
  if (entry.IsEmpty()) {
    throw Vx::IllegalArgumentException("Invalid archive entry: entry is null.", __FILE__, __LINE__);
  }
  CheckOpened();
  ReadEntries();
  const auto* const found = entryIndex.Find(entry->GetName());
  if (found == nullptr || found->value != entry) {
    throw ArchiveException("Failed to get archive entry input channel: archive entry not found.",
                           __FILE__, __LINE__);
  }
  return Vx::IBinaryChannelRef(Vx::New<ArchiveFileEntryIBinaryChannel>(location, entry));
}

void ArchiveFile::ExtractTo(const ::IO::Location& folder) const {
  ExtractArchive(location, folder);
}

void ArchiveFile::LockForUpdate() {
  CheckOpened();
  if (lock) return;
  if (IsUpdated()) {
    throw ArchiveException("Failed to update archive file: headers were changed without its lock.",
                           __FILE__, __LINE__);
  }
  lock.reset(Vx::New<ArchiveLock>(location));
  headersRead = entriesRead = endRead = false;
}

void ArchiveFile::Update() {
  CheckOpened();
  if (!IsUpdated()) return;
  endRead = false;
  // Headers that no archive can have fail before the file is looked at.
  const bool rewrite = NeedsRewrite();
  if (lock) {
    Update(*lock);
    return;
  }
  std::unique_ptr<ArchiveLock> shortLock;
  try {
    shortLock.reset(Vx::New<ArchiveLock>(location));
  } catch (const ArchiveException&) {
    // A file that can't be read is the reason for more than a failed change.
    if (rewrite) FileIBinaryChannel(location, FileShare::NoShare).Close();
    throw;
  }
  Update(*shortLock);
}

void ArchiveFile::Update(ArchiveLock& held) {
  const ArchiveUpdateResult result = UpdateArchiveHeaders(location, held, headers);
  // The file may have another reserved size now; a later update must know it.
  reservedHeaderSize = result.reservedSize;
  headerCheck = result.headerCheck;
  ownerKept = result.ownerKept;
}

bool ArchiveFile::NeedsRewrite() const {
  return IsUpdated() && IO::NeedsRewrite(headers, {reservedHeaderSize,
                                                   headerCheck != ArchiveEnd::HeaderCheck::None});
}

::IO::Location ArchiveFile::GetRewriteLocation() const {
  return IO::GetRewriteLocation(location);
}

ArchiveFileReader ArchiveFile::OpenReader() const {
  return lock ? ArchiveFileReader(lock->GetFile())
              : ArchiveFileReader(location, FileShare::NoShare);
}

void ArchiveFile::TakeHeaders(const ArchiveIBinaryChannel& channel) {
  reservedHeaderSize = channel.GetReservedHeaderSize();
  headerCheck = channel.GetEnd().headerCheck;
  headers.Clear();
  for (const auto& [name, value] : channel.EnumerateHeaders()) headers.Put(name, value);
}

void ArchiveFile::ReadHeaders() {
  if (headersRead) return;
  ArchiveFileReader reader = OpenReader();
  TakeHeaders(reader.GetChannel());
  reader.Close();
  headersRead = true;
}

void ArchiveFile::ReadHeaders() const {
  const_cast<ArchiveFile*>(this)->ReadHeaders();
}

void ArchiveFile::ReadEntries() {
  if (entriesRead) return;
  // What an attempt that failed has gathered must not be counted twice.
  entryIndex.Clear();
  entryList.Clear();
  ArchiveFileReader reader = OpenReader();
  if (!headersRead) {
    TakeHeaders(reader.GetChannel());
    headersRead = true;
  }
  for (EntryRef entry = reader.GetNextEntry(); entry; entry = reader.GetNextEntry()) {
    reader.GetChannel().CloseEntry();
    entryIndex.Put(entry->GetName(), entry);
    entryList.Push(entry);
  }
  end = reader.GetChannel().GetEnd();
  reader.Close();
  entriesRead = endRead = true;
}

void ArchiveFile::ReadEnd() {
  if (endRead) return;
  ArchiveFileReader reader = OpenReader();
  while (reader.GetNextEntry()) reader.GetChannel().LeaveEntry();
  end = reader.GetChannel().GetEnd();
  reader.Close();
  endRead = true;
}

void ArchiveFile::ReadEntries() const {
  const_cast<ArchiveFile*>(this)->ReadEntries();
}

}  // namespace Larkspan::Common::IO
