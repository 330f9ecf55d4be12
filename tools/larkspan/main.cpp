#include <exception>

#include "foundation/Vx/OutOfMemoryException.h"
#include "tools/larkspan/CommandLine.h"
#include "tools/larkspan/Interruption.h"
#include "tools/larkspan/Text.h"

namespace {

using Tool::ExitCode;

ExitCode Run(const Tool::Request& request, Tool::Console& console) {
  try {
    request.command(console);
  } catch (const Tool::Interrupted&) {
    return ExitCode::Interrupted;
  } catch (const Tool::PipeClosed&) {
    // What the reader wanted to have, it has.
  } catch (const Tool::Failure& failure) {
    console.Report(failure);
  } catch (const VxException& exception) {
    const bool memory = dynamic_cast<const Vx::OutOfMemoryException*>(&exception) != nullptr;
    console.Report(Tool::LibraryFailure(ExitCode::SystemFailure, "failure",
                                        memory ? "out of memory" : exception.GetName(), exception));
  } catch (const std::exception& exception) {
    console.Report(Tool::Failure(ExitCode::SystemFailure, "failure", exception.what()));
  }
  return console.GetOutcome();
}

ExitCode Main(int count, const char* const* arguments) {
  Tool::InstallInterruption();
  Tool::Request request;
  try {
    request = Tool::ParseCommandLine(count, arguments);
  } catch (const Tool::Failure& failure) {
    Tool::ConsoleOptions options;
    options.json = Tool::AsksForJson(count, arguments);
    Tool::Console console(options);
    console.Report(failure);
    return console.GetOutcome();
  }
  Tool::Console console(request.console);
  return Run(request, console);
}

}  // namespace

int main(int count, char** arguments) {
  return static_cast<int>(Main(count, arguments));
}
