#include "tools/larkspan/PathArgument.h"

#include <utility>

#include "foundation/IO/FileSystem.h"
#include "tools/larkspan/Failure.h"
#include "tools/larkspan/Text.h"

namespace Tool {

::IO::Location LocationFromArgument(const std::string& argument) {
  ::IO::Location location;
  const int status = ::IO::fileSystem.FromNativePath(argument, location);
  if (status == ::IO::StatusInvalidLocation || status == ::IO::StatusInvalidArgument) {
    const std::string subject = argument.empty() ? "\"\"" : ToPrintable(argument);
    throw Failure(ExitCode::WrongUsage, subject, "can't be a path");
  }
  if (status != 0) {
    throw SystemFailure(ToPrintable(argument), "the current folder is unknown", status);
  }
  if (!argument.starts_with('/')) NameAs(location, argument);
  return location;
}

void ClaimStandardInput() {
  static bool isClaimed = false;
  if (std::exchange(isClaimed, true)) {
    throw Failure(ExitCode::WrongUsage, "standard input", "can be read only once");
  }
}

}  // namespace Tool
