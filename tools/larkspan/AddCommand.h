#pragma once

#include <string>

#include "tools/larkspan/Console.h"
#include "tools/larkspan/TreeSources.h"

namespace Tool {

struct AddOptions : TreeOptions {
  std::string archive;
  std::string replace = "always";
};

/// Adds files to an archive, behind its entries, which are copied as they are. Entries of the same
/// names are dropped or stay, as `replace` says.
void RunAdd(const AddOptions& options, Console& console);

}  // namespace Tool
