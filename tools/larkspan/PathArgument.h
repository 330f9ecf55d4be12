#pragma once

#include <string>

#include "foundation/IO/Location.h"

namespace Tool {

/// The location that a path on the command line names; a relative one starts at the current folder.
/// Throws `Failure` for one that can't be a path.
[[nodiscard]] ::IO::Location LocationFromArgument(const std::string& argument);

/// For whoever reads the standard input, which only one can do: throws `Failure` the second time.
void ClaimStandardInput();

}  // namespace Tool
