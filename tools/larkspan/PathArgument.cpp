#include "tools/larkspan/PathArgument.h"

#include "foundation/IO/FileSystem.h"
#include "tools/larkspan/Failure.h"
#include "tools/larkspan/Text.h"

namespace Tool {

::IO::Location LocationFromArgument(const std::string& argument) {
  ::IO::Location location;
  const int status = ::IO::fileSystem.FromNativePath(argument, location);
  if (status != 0) {
    const std::string subject = argument.empty() ? "\"\"" : ToPrintable(argument);
    throw Failure(ExitCode::WrongUsage, subject, "can't be a path");
  }
  return location;
}

}  // namespace Tool
