#pragma once

#include <string>
#include <vector>

#include "Larkspan/Common/IO/ArchiveHeaderSize.h"
#include "foundation/IO/Processors.h"
#include "tools/larkspan/Console.h"

namespace Tool {

struct CreateOptions {
  std::string archive;  // `-` is the standard output
  std::vector<std::string> paths;
  std::string folder;  // what relative paths count from; empty for the current one
  std::string method = "deflated";
  unsigned int reserve = Larkspan::Common::IO::DefaultReservedHeaderSize;
  std::vector<std::string> headers;  // NAME=VALUE
  unsigned int jobs = ::IO::GetProcessorCount();
  bool force = false;
  std::string inputName = "stdin";
  bool followLinks = false;
  bool copyHardLinks = false;
  bool keepOwners = false;
  bool oneFileSystem = false;
  bool leaveOutCaches = false;
};

/// Makes an archive, which appears under its name when it is complete.
void RunCreate(const CreateOptions& options, Console& console);

}  // namespace Tool
