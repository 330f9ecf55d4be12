#pragma once

#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "foundation/IO/Location.h"

namespace Larkspan::Common::IO {

/// What `ArchiveFile` says of its updates: `reservedSize` is that of the file, as far as known.
[[nodiscard]] bool NeedsRewrite(const ArchiveHeaders& headers, unsigned int reservedSize);
[[nodiscard]] ::IO::Location GetRewriteLocation(const ::IO::Location& location);

/// The work of `ArchiveFile::Update`: writes the headers to the archive, in place if they fit
/// `reservedSize` bytes, else by a rewrite. Returns the file's reserved header size afterwards.
[[nodiscard]] unsigned int UpdateArchiveHeaders(const ::IO::Location& location,
                                                const ArchiveHeaders& headers,
                                                unsigned int reservedSize);

}  // namespace Larkspan::Common::IO
