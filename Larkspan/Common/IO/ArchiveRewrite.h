#pragma once

#include <functional>

#include "Larkspan/Common/IO/ArchiveLock.h"
#include "foundation/IO/Location.h"
#include "foundation/Vx/OBinaryChannel.h"

namespace Larkspan::Common::IO {

/// Where a new file is written that is to take the place of the archive under the name `location`:
/// beside it, or beside the file that it is a link to.
[[nodiscard]] ::IO::Location GetRewriteLocation(const ::IO::Location& location);

/// Removes what changes of the archive have left that were killed. `locked` is its file.
void RemoveRewriteLeftovers(const ::IO::Location& location, const ::IO::File& locked);

/// Puts a new file, which `write` writes and syncs, in the place of the archive that `lock` holds;
/// after that `lock` holds the new one. Whatever happens, one of the two stands complete under the
/// name. Returns whether the system let the new one have owner, group and permissions of the old
/// one. Throws what `write` throws, `ArchiveException` and `Vx::IOException`, with everything as it
/// was.
[[nodiscard]] bool RewriteArchive(const ::IO::Location& location, ArchiveLock& lock,
                                  const std::function<void(Vx::OBinaryChannel&)>& write);

}  // namespace Larkspan::Common::IO
