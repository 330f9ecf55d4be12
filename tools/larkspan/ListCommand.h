#pragma once

#include <string>

#include "tools/larkspan/Console.h"
#include "tools/larkspan/NameSelection.h"

namespace Tool {

struct ListOptions : NameOptions {
  std::string archive;
  bool longForm = false;
};

/// Prints the names of entries and empty folders, each one as soon as it has been verified.
void RunList(const ListOptions& options, Console& console);

}  // namespace Tool
