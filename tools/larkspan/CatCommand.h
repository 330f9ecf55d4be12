#pragma once

#include <string>

#include "tools/larkspan/Console.h"
#include "tools/larkspan/NameSelection.h"

namespace Tool {

struct CatOptions : NameOptions {
  std::string archive;
};

/// Sends the data of entries to the standard output, in the order of the archive.
void RunCat(const CatOptions& options, Console& console);

}  // namespace Tool
