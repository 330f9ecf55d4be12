#pragma once

#include "Larkspan/Common/IO/ArchiveEntry.h"

namespace Larkspan::Common::IO {

/// The entry that the channels make and fill.
class ArchiveEntryImpl final : public ArchiveEntry {
 public:
  /// An entry without headers. Throws `Vx::IllegalArgumentException` for an empty name.
  ArchiveEntryImpl(const Vx::UniString& name, Method method);
  /// An entry with a copy of `headers`, whose names must not be empty either.
  ArchiveEntryImpl(const Vx::UniString& name, const ArchiveHeaders& headers, Method method);
  ~ArchiveEntryImpl() override;

  using ArchiveEntry::GetHeader;
  [[nodiscard]] const Vx::UniString& GetName() const noexcept override { return name; }
  [[nodiscard]] unsigned int GetHeaderCount() const noexcept override { return headers.GetSize(); }
  [[nodiscard]] bool HasHeaders() const noexcept override { return headers.GetSize() > 0; }
  [[nodiscard]] ArchiveHeaderIterator EnumerateHeaders() const override;
  [[nodiscard]] bool ConstainsHeader(const Vx::UniString& headerName) const override;
  bool GetHeader(const Vx::UniString& headerName, Vx::UniString& value) const override;
  [[nodiscard]] Method GetMethod() const noexcept override { return method; }
  [[nodiscard]] bool IsClosed() const noexcept override { return closed; }
  [[nodiscard]] unsigned __int64 GetArchivedSize() const noexcept override { return archivedSize; }
  [[nodiscard]] unsigned __int64 GetSize() const noexcept override { return size; }
  [[nodiscard]] unsigned int GetCRC() const noexcept override { return crc; }
  [[nodiscard]] bool Equals(const ArchiveEntry& other) const override;
  [[nodiscard]] bool IsVerified() const noexcept override { return verified; }

  /// Replaces the value of a header that is there, else adds one.
  void PutHeader(const Vx::UniString& headerName, const Vx::UniString& value);

  /// Sets the values of the footer, which fit the data or are mere claims, and closes the entry.
  void Close(unsigned __int64 newArchivedSize, unsigned __int64 newSize, unsigned int newCRC,
             bool newVerified = true) noexcept;

 private:
  const Vx::UniString name;
  ArchiveHeaders headers;
  const Method method;
  bool closed = false;
  bool verified = false;
  unsigned __int64 archivedSize = 0;
  unsigned __int64 size = 0;
  unsigned int crc = 0;
};

}  // namespace Larkspan::Common::IO
