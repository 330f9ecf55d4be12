#pragma once

#include <string>
#include <vector>

#include "tools/larkspan/Console.h"

namespace Tool {

struct ExtractOptions {
  std::string archive;
  std::vector<std::string> names;  // empty for all
  std::string folder;              // the target; empty for the current one
  std::string overwrite = "fail";  // or "skip", "always"
};

/// Writes entries as files. Each one gets its name when it is complete and verified.
void RunExtract(const ExtractOptions& options, Console& console);

}  // namespace Tool
