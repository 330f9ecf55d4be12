#pragma once

#include <exception>
#include <string>
#include <string_view>

#include "foundation/Vx/OutOfMemoryException.h"

namespace Tool {

/// What the program returns to its caller, from good to bad.
enum class ExitCode : int {
  Done = 0,
  Incomplete = 1,  // done, but not all of it
  WrongUsage = 2,
  SystemFailure = 3,
  BadArchive = 4,
  Interrupted = 130,
};

/// The end of a command, with what there is to say about it. Deliberately not a `VxException`, so
/// that no channel of an archive takes it for the end of its input.
class Failure final : public std::exception {
 public:
  /// `subject` is what the failure is about, ready to be printed; `report` the chain of causes.
  Failure(ExitCode exitCode, std::string subject, std::string text, std::string report = "");

  [[nodiscard]] ExitCode GetExitCode() const noexcept { return code; }
  [[nodiscard]] const std::string& GetSubject() const noexcept { return about; }
  [[nodiscard]] std::string_view GetText() const noexcept {
    return std::string_view(message).substr(about.size() + 2);
  }
  [[nodiscard]] const std::string& GetReport() const noexcept { return details; }
  /// Subject and text.
  [[nodiscard]] const char* what() const noexcept override { return message.c_str(); }

 private:
  ExitCode code;
  std::string about;
  std::string message;  // subject, ": ", and text
  std::string details;
};

/// The system refused `action` with `status`, one of the file-system layer's.
[[nodiscard]] Failure SystemFailure(const std::string& subject, std::string_view action,
                                    int status);
/// The same as the library reports it: `text`, the message of `reason`, and what the system said.
[[nodiscard]] Failure LibraryFailure(ExitCode code, const std::string& subject,
                                     std::string_view text, const VxException& reason);

/// Runs `work` and returns its result. A failure of the library comes out as what
/// `describe(exception)` makes of it; running out of memory passes.
template <class Work, class Describe>
auto PresentFailures(Work&& work, Describe&& describe) {
  try {
    return work();
  } catch (const Vx::OutOfMemoryException&) {
    throw;
  } catch (const VxException& exception) {
    throw describe(exception);
  }
}

/// Nobody reads the standard output any more: no failure, and no reason to go on.
struct PipeClosed {};

/// A status of the file-system layer in words; the system's own if the operation was the last one
/// that failed.
[[nodiscard]] std::string DescribeStatus(int status);

}  // namespace Tool
