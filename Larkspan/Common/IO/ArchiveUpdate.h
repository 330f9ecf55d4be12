#pragma once

#include "Larkspan/Common/IO/ArchiveEnd.h"
#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "Larkspan/Common/IO/ArchiveLock.h"
#include "foundation/IO/Location.h"

namespace Larkspan::Common::IO {

/// What of a file's header decides how changed headers are written.
struct ArchiveRoom {
  unsigned int reservedSize = 0;
  bool sealPromised = false;
};

/// What `ArchiveFile` says of its updates: `room` is that of the file, as far as known.
[[nodiscard]] bool NeedsRewrite(const ArchiveHeaders& headers, const ArchiveRoom& room);
[[nodiscard]] ::IO::Location GetRewriteLocation(const ::IO::Location& location);

/// What the file is like afterwards.
struct ArchiveUpdateResult {
  unsigned int reservedSize = 0;
  ArchiveEnd::HeaderCheck headerCheck = ArchiveEnd::HeaderCheck::None;
  bool ownerKept = true;
};

/// The work of `ArchiveFile::Update`: writes the headers to the archive under the name `location`,
/// which is locked: in place if they fit the room that it has now, else by a rewrite, after which
/// `lock` holds the new file.
[[nodiscard]] ArchiveUpdateResult UpdateArchiveHeaders(const ::IO::Location& location,
                                                       ArchiveLock& lock,
                                                       const ArchiveHeaders& headers);

}  // namespace Larkspan::Common::IO
