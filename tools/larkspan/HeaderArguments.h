#pragma once

#include <string>

#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "foundation/Vx/Types.h"

namespace Tool {

/// Puts the header that an argument NAME=VALUE says. Raises `Failure` for any other argument, and
/// for texts that are too long for an archive.
void PutHeaderArgument(const std::string& argument, Larkspan::Common::IO::ArchiveHeaders& headers);

/// Raises `Failure` for a text that is too long for an archive.
void CheckTextLength(const Vx::UniString& text);

/// The bytes that an archive header with these values takes.
[[nodiscard]] unsigned __int64 GetHeaderSize(const Larkspan::Common::IO::ArchiveHeaders& headers);

}  // namespace Tool
