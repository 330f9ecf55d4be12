#pragma once

#include <string>

#include "tools/larkspan/Failure.h"
#include "tools/larkspan/Progress.h"

namespace Tool {

/// The messages of a command, on the standard error: `larkspan: SUBJECT: what happened`. Subjects
/// and texts come ready to be printed.
class Console final {
 public:
  Console(bool showDetails, bool showProgress) noexcept
      : verbose(showDetails), progress(showProgress) {}

  /// Something that is good to know.
  void Note(const std::string& subject, const std::string& text);
  /// The same, for those who asked to be told.
  void Detail(const std::string& subject, const std::string& text);
  /// Something could not be done, and the work goes on without it.
  void Warn(const std::string& subject, const std::string& text);
  /// The end of a command, or of a part of it that others don't depend on.
  void Report(const Failure& failure);

  /// The worst of all that was told so far.
  [[nodiscard]] ExitCode GetOutcome() const noexcept { return outcome; }
  [[nodiscard]] Progress& GetProgress() noexcept { return progress; }

 private:
  void Print(const std::string& text);

  bool verbose;
  ExitCode outcome = ExitCode::Done;
  Progress progress;
};

}  // namespace Tool
