#pragma once

#include "Larkspan/Common/IO/ArchiveEntry.h"

namespace Larkspan::Archive {

/// Where an entry is in an archive, and what its footer claims.
struct EntryPlace {
  // Offsets in the archive: of the entry, of its data's framing, and of what is behind its footer.
  Vx::UInt64 header = 0;
  Vx::UInt64 data = 0;
  Vx::UInt64 end = 0;
  Vx::UInt64 archivedSize = 0;
  Vx::UInt64 size = 0;
  unsigned int crc = 0;
  Common::IO::ArchiveEntry::Method method = Common::IO::ArchiveEntry::Stored;
};

}  // namespace Larkspan::Archive
