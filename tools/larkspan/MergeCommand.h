#pragma once

#include <string>
#include <vector>

#include "foundation/IO/Processors.h"
#include "tools/larkspan/Console.h"

namespace Tool {

struct MergeOptions {
  std::string target;
  std::vector<std::string> archives;
  unsigned int jobs = ::IO::GetProcessorCount();
  bool force = false;
  bool dryRun = false;
};

/// Makes one archive of several, which appears under its name when it is complete. Entries are
/// copied as they are; of those of one name, the last. Of headers of one name, the first counts.
void RunMerge(const MergeOptions& options, Console& console);

}  // namespace Tool
