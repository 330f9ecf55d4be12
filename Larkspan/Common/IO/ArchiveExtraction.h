#pragma once

#include "foundation/IO/Location.h"

namespace Larkspan::Common::IO {

/// The work of `ArchiveFile::ExtractTo`.
void ExtractArchive(const ::IO::Location& archive, const ::IO::Location& folder);

}  // namespace Larkspan::Common::IO
