#pragma once

#include <functional>

#include "tools/larkspan/Console.h"

namespace Tool {

/// What the user asks for.
struct Request {
  ConsoleOptions console;
  std::function<void(Console&)> command;
};

/// Whether a `--json` stands among the arguments, however little sense the others make.
[[nodiscard]] bool AsksForJson(int count, const char* const* arguments);

/// Throws `Failure` for arguments that make no sense. Help is a command that prints it.
[[nodiscard]] Request ParseCommandLine(int count, const char* const* arguments);

}  // namespace Tool
