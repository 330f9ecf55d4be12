#pragma once

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/ArchiveEntry.h"

/// How large the header block of an archive is, and how much to reserve for it, so that headers can
/// be changed later in place. Sizes are bytes.
namespace Larkspan::Common::IO {

/// The smallest reserved size that a writer takes, apart from 0, which reserves nothing.
inline constexpr unsigned int MinReservedHeaderSize = 256;

/// Recommended: the largest block that is replaced as a whole even if the process is killed.
inline constexpr unsigned int DefaultReservedHeaderSize = 4096;

[[nodiscard]] constexpr bool IsReservedHeaderSize(Vx::UInt64 size) noexcept {
  return size == 0 || (size >= MinReservedHeaderSize && size <= 0xFFFFFFFFU);
}

/// The size of a header block with these headers and without padding; `sealed` counts the promise
/// of a seal, too. Throws `Vx::IllegalArgumentException` for a header with an empty name, and
/// `Vx::DataIntegrityException` for a text that is too long for an archive.
[[nodiscard]] LARKSPAN_API Vx::UInt64 GetArchiveHeaderSize(const ArchiveHeaders& headers,
                                                           bool sealed = false);

/// `reservedSize`, doubled until the headers fit, as `ArchiveFile::Update` does it; 0 stays 0. In
/// an archive that is `sealed`, that is with the promise of the seal and the byte behind it.
/// Throws as above, `Vx::IllegalArgumentException` for a size that no writer takes, and
/// `ArchiveException` if the result would not fit 32 bits.
[[nodiscard]] LARKSPAN_API unsigned int FitReservedHeaderSize(const ArchiveHeaders& headers,
                                                              unsigned int reservedSize,
                                                              bool sealed = false);

}  // namespace Larkspan::Common::IO
