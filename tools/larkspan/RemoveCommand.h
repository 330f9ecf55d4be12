#pragma once

#include <string>

#include "foundation/IO/Processors.h"
#include "tools/larkspan/Console.h"
#include "tools/larkspan/NameSelection.h"

namespace Tool {

struct RemoveOptions : NameOptions {
  std::string archive;
  unsigned int jobs = ::IO::GetProcessorCount();
  bool dryRun = false;
};

/// Removes entries, and folders with all below. The other entries are copied as they are.
void RunRemove(const RemoveOptions& options, Console& console);

}  // namespace Tool
