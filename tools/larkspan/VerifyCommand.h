#pragma once

#include <string>
#include <vector>

#include "foundation/IO/Processors.h"
#include "tools/larkspan/Console.h"

namespace Tool {

struct VerifyOptions {
  std::vector<std::string> archives;
  unsigned int jobs = ::IO::GetProcessorCount();
};

/// Reads archives to their ends and checks everything. Failures are reported, and the next archive
/// follows.
void RunVerify(const VerifyOptions& options, Console& console);

}  // namespace Tool
