#pragma once

#include <string>

#include "foundation/IO/Processors.h"
#include "tools/larkspan/Console.h"

namespace Tool {

struct DiffOptions {
  std::string archive;
  std::string folder;  // where the files are; empty for the current one
  unsigned int jobs = ::IO::GetProcessorCount();
  bool all = false;
  bool null = false;   // lines end with zero bytes
  bool owner = false;  // compare owners and groups, too
};

/// Prints what is otherwise in the file tree than in the archive, of all that the archive holds.
void RunDiff(const DiffOptions& options, Console& console);

}  // namespace Tool
