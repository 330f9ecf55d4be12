#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/Counter.h"
#include "foundation/Vx/HashTable.h"
#include "foundation/Vx/Ref.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common::IO {

/// Named string values of an archive or of an entry. Enumerated in the order in which they came.
using ArchiveHeaders = Vx::HashTable<Vx::UniString, Vx::UniString>;

/// Walks over headers; see `Vx::ConstForwardIteratorBase`. The table must outlive it unchanged.
using ArchiveHeaderIterator =
    Vx::ConstForwardIteratorBase<ArchiveHeaders, ArchiveHeaders::ConstPairIteratorState,
                                 ArchiveHeaders::ConstAssoc>;

/// The record of one entry of an archive. Made by the archive channels and handed out as a counted
/// reference, which keeps it alive after them; it belongs to one thread at a time.
///
/// While an entry's data is being written or read, the entry is open and its sizes and CRC are 0.
/// They are there once it is closed, and do not change after that. They were counted while the data
/// was written, or verified while it was read, unless the entry was left without reading it.
class LARKSPAN_API ArchiveEntry {
 public:
  enum Method : unsigned int {
    Deflated = 1,  ///< one zlib stream (RFC 1950) at the default level
    Stored = 2,    ///< the data as it is
    Default = 3,   ///< a request to the output channel; no entry and no file has it
  };

  virtual ~ArchiveEntry();

  /// Never empty.
  [[nodiscard]] virtual const Vx::UniString& GetName() const noexcept = 0;

  [[nodiscard]] virtual unsigned int GetHeaderCount() const noexcept = 0;
  [[nodiscard]] virtual bool HasHeaders() const noexcept = 0;
  [[nodiscard]] virtual ArchiveHeaderIterator EnumerateHeaders() const = 0;
  /// The operations with a header's name throw `Vx::IllegalArgumentException` for an empty one.
  [[nodiscard]] virtual bool ConstainsHeader(const Vx::UniString& name) const = 0;
  /// The value, or an empty string if there is no such header.
  [[nodiscard]] virtual Vx::UniString GetHeader(const Vx::UniString& name) const;
  /// Assigns the value and returns true, or leaves `value` alone and returns false.
  virtual bool GetHeader(const Vx::UniString& name, Vx::UniString& value) const = 0;

  [[nodiscard]] virtual Method GetMethod() const noexcept = 0;
  [[nodiscard]] virtual bool IsClosed() const noexcept = 0;
  /// Bytes of data after compression, without the framing.
  [[nodiscard]] virtual Vx::UInt64 GetArchivedSize() const noexcept = 0;
  /// Bytes of plain data.
  [[nodiscard]] virtual Vx::UInt64 GetSize() const noexcept = 0;
  /// CRC-32 of the plain data.
  [[nodiscard]] virtual unsigned int GetCRC() const noexcept = 0;

  /// Whether name, headers (in any order) and method are equal, and, if both entries are closed,
  /// sizes and CRC too. Linear in the number of headers.
  [[nodiscard]] virtual bool Equals(const ArchiveEntry& other) const = 0;

  /// Whether sizes and CRC are known to be those of the data. False while the entry is open, and if
  /// it was left: then they are what its footer claims.
  [[nodiscard]] virtual bool IsVerified() const noexcept = 0;

 protected:
  ArchiveEntry() noexcept;
  ArchiveEntry(const ArchiveEntry&) noexcept;
  ArchiveEntry& operator=(const ArchiveEntry&) noexcept;
};

static_assert(sizeof(ArchiveEntry::Method) == 4, "the method has 4 bytes in a file");

}  // namespace Larkspan::Common::IO
