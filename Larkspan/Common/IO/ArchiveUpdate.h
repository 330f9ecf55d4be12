#pragma once

#include <functional>

#include "Larkspan/Common/IO/ArchiveEnd.h"
#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "Larkspan/Common/IO/ArchiveLock.h"
#include "foundation/IO/Location.h"
#include "foundation/Vx/OBinaryChannel.h"

namespace Larkspan::Common::IO {

class ArchiveOBinaryChannel;

/// What of a file's header decides how changed headers are written.
struct ArchiveRoom {
  unsigned int reservedSize = 0;
  bool sealPromised = false;
};

/// Whether changed headers take a rewrite; `room` is that of the file, as far as known.
[[nodiscard]] bool NeedsRewrite(const ArchiveHeaders& headers, const ArchiveRoom& room);

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

/// Writes entries to an archive, and what is to stand behind them: a seal, or bytes to `output`,
/// which is beneath the archive.
using WriteEntries =
    std::function<void(ArchiveOBinaryChannel& archive, Vx::OBinaryChannel& output)>;

/// The same with other entries: by a rewrite in any case, whose entries `write` writes.
[[nodiscard]] ArchiveUpdateResult UpdateArchiveEntries(const ::IO::Location& location,
                                                       ArchiveLock& lock,
                                                       const ArchiveHeaders& headers,
                                                       const WriteEntries& write);

}  // namespace Larkspan::Common::IO
