#pragma once

#include <string>
#include <vector>

#include "foundation/IO/Processors.h"
#include "tools/larkspan/Console.h"

namespace Tool {

struct AddOptions {
  std::string archive;
  std::vector<std::string> paths;
  std::string folder;  // what relative paths count from; empty for the current one
  std::string replace = "always";
  std::string method = "deflated";
  std::string inputName = "stdin";
  unsigned int jobs = ::IO::GetProcessorCount();
  bool dryRun = false;
};

/// Adds files to an archive, behind its entries, which are copied as they are. Entries of the same
/// names are dropped or stay, as `replace` says.
void RunAdd(const AddOptions& options, Console& console);

}  // namespace Tool
