#pragma once

#include <string>
#include <vector>

#include "Larkspan/Common/IO/ArchiveHeaderSize.h"
#include "tools/larkspan/Console.h"
#include "tools/larkspan/TreeSources.h"

namespace Tool {

struct CreateOptions : TreeOptions {
  std::string archive;  // `-` is the standard output
  unsigned int reserve = Larkspan::Common::IO::DefaultReservedHeaderSize;
  std::vector<std::string> headers;  // NAME=VALUE
  bool force = false;
};

/// Makes an archive, which appears under its name when it is complete.
void RunCreate(const CreateOptions& options, Console& console);

}  // namespace Tool
