#pragma once

#include "foundation/Vx/Types.h"

/// The numbers of the archive format, which docs/archive-format.md describes, and the sizes with
/// which writer and reader work on it.
namespace Larkspan::Common::IO::ArchiveFormat {

inline constexpr char Magic[] = "LarkspanArchive";
inline constexpr unsigned int MagicLength = sizeof(Magic) - 1;
static_assert(MagicLength == 15);

inline constexpr unsigned int MajorVersion = 1;
inline constexpr unsigned int MinorVersion = 0;

/// Bytes of a full frame of entry data.
inline constexpr unsigned int ChunkSize = 0x40000;

/// Both buffers of an entry's deflater or inflater.
inline constexpr unsigned int CompressionBufferSize = 1024;

}  // namespace Larkspan::Common::IO::ArchiveFormat
