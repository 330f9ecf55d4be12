#pragma once

#include <string>
#include <vector>

#include "tools/larkspan/Console.h"

namespace Tool {

struct CatOptions {
  std::string archive;
  std::vector<std::string> entries;
};

/// Sends the data of entries to the standard output, in the order of the archive.
void RunCat(const CatOptions& options, Console& console);

}  // namespace Tool
