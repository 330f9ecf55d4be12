#pragma once

#include <string>

#include "Larkspan/Common/IO/ArchiveEntry.h"

namespace Tool {

/// Puts the header that an argument NAME=VALUE says. Throws `Failure` for any other argument, for
/// the headers that the tool keeps itself, and for texts that are too long for an archive.
void PutHeaderArgument(const std::string& argument, Larkspan::Common::IO::ArchiveHeaders& headers);

/// Throws `Failure` for a text that is too long for an archive.
void CheckTextLength(const Vx::UniString& text);

}  // namespace Tool
