#pragma once

#include <string>
#include <vector>

#include "tools/larkspan/Console.h"

namespace Tool {

struct CommandFacts;

struct HelpOptions {
  std::vector<std::string> names;  // of a group and a command in it
};

/// What `path`, the program, a command and perhaps one within it, have to tell, for a terminal.
[[nodiscard]] std::string MakeHelp(const std::vector<const CommandFacts*>& path);

/// "larkspan create [OPTION...] ARCHIVE PATH...".
[[nodiscard]] std::string MakeUsage(const std::vector<const CommandFacts*>& path);

/// Prints the help of a command to the standard output.
void RunHelp(const HelpOptions& options, Console& console);

}  // namespace Tool
