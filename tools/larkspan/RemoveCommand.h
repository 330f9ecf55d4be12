#pragma once

#include <string>
#include <vector>

#include "foundation/IO/Processors.h"
#include "tools/larkspan/Console.h"

namespace Tool {

struct RemoveOptions {
  std::string archive;
  std::vector<std::string> names;
  unsigned int jobs = ::IO::GetProcessorCount();
  bool dryRun = false;
};

/// Removes entries, and folders with all below. The other entries are copied as they are.
void RunRemove(const RemoveOptions& options, Console& console);

}  // namespace Tool
