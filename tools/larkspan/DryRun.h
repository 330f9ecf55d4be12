#pragma once

#include "foundation/Vx/UniString.h"
#include "tools/larkspan/Console.h"
#include "tools/larkspan/OutputChannel.h"

namespace Tool {

/// Prints what a command would do with the entry or folder of that name.
void PrintStep(const char* action, const Vx::UniString& name, bool isFolder, const Console& console,
               StandardOutput& output);

}  // namespace Tool
