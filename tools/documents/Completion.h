#pragma once

#include <string>

#include "tools/larkspan/CommandTable.h"

/// Scripts by which shells complete commands, options and their values; paths where an archive or a
/// file is expected, and the names of entries where one of the archive that stands before is.
namespace Documents {

[[nodiscard]] std::string MakeBashCompletion(const Tool::CommandFacts& program);
[[nodiscard]] std::string MakeZshCompletion(const Tool::CommandFacts& program);
[[nodiscard]] std::string MakeFishCompletion(const Tool::CommandFacts& program);

}  // namespace Documents
