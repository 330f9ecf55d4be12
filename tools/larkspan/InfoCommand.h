#pragma once

#include <string>

#include "tools/larkspan/Console.h"

namespace Tool {

struct InfoOptions {
  std::string archive;
};

/// Prints what there is to say about an archive as a whole, and whether all of it is verified.
void RunInfo(const InfoOptions& options, Console& console);

}  // namespace Tool
