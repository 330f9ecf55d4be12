#pragma once

#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "foundation/IO/Location.h"

namespace Larkspan::Common::IO {

/// The work of `ArchiveFile::Update`: gives the archive the headers, in place if they fit
/// `reservedSize` bytes, else by a rewrite. Gives the file's reserved header size afterwards.
[[nodiscard]] unsigned int UpdateArchiveHeaders(const ::IO::Location& location,
                                                const ArchiveHeaders& headers,
                                                unsigned int reservedSize);

}  // namespace Larkspan::Common::IO
