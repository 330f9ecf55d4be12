#include "Larkspan/Common/IO/ArchiveEntry.h"

namespace Larkspan::Common::IO {

ArchiveEntry::ArchiveEntry() noexcept = default;
ArchiveEntry::ArchiveEntry(const ArchiveEntry&) noexcept = default;
ArchiveEntry& ArchiveEntry::operator=(const ArchiveEntry&) noexcept = default;
ArchiveEntry::~ArchiveEntry() = default;

Vx::UniString ArchiveEntry::GetHeader(const Vx::UniString& name) const {
  Vx::UniString value;
  GetHeader(name, value);
  return value;
}

}  // namespace Larkspan::Common::IO
