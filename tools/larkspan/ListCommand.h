#pragma once

#include <string>

#include "tools/larkspan/Console.h"
#include "tools/larkspan/NameSelection.h"

namespace Tool {

struct ListOptions : NameOptions {
  std::string archive;
  std::string sort = "none";  // or "name", "size", "time"
  bool longForm = false;
  bool human = false;  // sizes with units
  bool tree = false;
};

/// Prints the names of entries and empty folders; unless they are sorted, or make a tree, each one
/// as soon as it has been found.
void RunList(const ListOptions& options, Console& console);

}  // namespace Tool
