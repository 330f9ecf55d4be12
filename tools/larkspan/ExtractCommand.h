#pragma once

#include <limits>
#include <string>

#include "foundation/IO/Accounts.h"
#include "foundation/IO/Processors.h"
#include "foundation/Vx/Types.h"
#include "tools/larkspan/Console.h"
#include "tools/larkspan/NameSelection.h"

namespace Tool {

struct ExtractOptions : NameOptions {
  std::string archive;
  std::string folder;              // the target; empty for the current one
  std::string overwrite = "fail";  // or "skip", "always"
  unsigned __int64 maxSize = std::numeric_limits<unsigned __int64>::max();  // of all files together
  unsigned int jobs = ::IO::GetProcessorCount();
  unsigned int stripComponents = 0;  // parts taken off the front of each name
  bool keepGoing = false;
  bool dryRun = false;
  bool sync = false;
  bool unsafeLinks = false;
  bool sameOwner = ::IO::IsPrivileged();
  bool noSameOwner = false;
};

/// Writes entries as files. Each one gets its name when it is complete and verified.
void RunExtract(const ExtractOptions& options, Console& console);

}  // namespace Tool
