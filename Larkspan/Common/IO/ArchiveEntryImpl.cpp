#include "Larkspan/Common/IO/ArchiveEntryImpl.h"

#include "Larkspan/Common/IO/ArchiveHeaderTable.h"

namespace Larkspan::Common::IO {
namespace {

constexpr const char* EmptyHeaderName = "Invalid archive entry header name: header name is empty.";

const Vx::UniString& CheckedName(const Vx::UniString& name) {
  CheckName(name, EmptyEntryName);
  return name;
}

const ArchiveHeaders& CheckedHeaders(const ArchiveHeaders& headers) {
  CheckHeaderNames(headers);
  return headers;
}

}  // namespace

ArchiveEntryImpl::ArchiveEntryImpl(const Vx::UniString& entryName, Method entryMethod)
    : name(CheckedName(entryName)), headers(0, 0), method(entryMethod) {}

ArchiveEntryImpl::ArchiveEntryImpl(const Vx::UniString& entryName,
                                   const ArchiveHeaders& entryHeaders, Method entryMethod)
    : name(CheckedName(entryName)), headers(CheckedHeaders(entryHeaders)), method(entryMethod) {}

ArchiveEntryImpl::~ArchiveEntryImpl() = default;

ArchiveHeaderIterator ArchiveEntryImpl::EnumerateHeaders() const {
  return headers.EnumeratePairs();
}

bool ArchiveEntryImpl::ConstainsHeader(const Vx::UniString& headerName) const {
  CheckName(headerName, EmptyHeaderName);
  return headers.Find(headerName) != nullptr;
}

bool ArchiveEntryImpl::GetHeader(const Vx::UniString& headerName, Vx::UniString& value) const {
  CheckName(headerName, EmptyHeaderName);
  return headers.FindValue(headerName, value);
}

void ArchiveEntryImpl::PutHeader(const Vx::UniString& headerName, const Vx::UniString& value) {
  CheckName(headerName, EmptyHeaderName);
  headers.Put(headerName, value);
}

void ArchiveEntryImpl::Close(unsigned __int64 newArchivedSize, unsigned __int64 newSize,
                             unsigned int newCRC, bool newVerified) noexcept {
  archivedSize = newArchivedSize;
  size = newSize;
  crc = newCRC;
  closed = true;
  verified = newVerified;
}

bool ArchiveEntryImpl::Equals(const ArchiveEntry& other) const {
  const auto* const entry = dynamic_cast<const ArchiveEntryImpl*>(&other);
  if (entry == nullptr) return false;
  if (name != entry->name || !headers.HasEqualPairs(entry->headers)) return false;
  if (method != entry->method) return false;
  if (!closed || !entry->closed) return true;
  return archivedSize == entry->archivedSize && size == entry->size && crc == entry->crc;
}

}  // namespace Larkspan::Common::IO
