#pragma once

#include <algorithm>
#include <string>
#include <string_view>

#include "foundation/Vx/UniString.h"
#include "tools/larkspan/Failure.h"
#include "tools/larkspan/Progress.h"

namespace Tool {

/// How much is told, and how.
struct ConsoleOptions {
  bool quiet = false;
  bool verbose = false;
  bool noProgress = false;
  bool json = false;
  std::string color = "auto";  // or "always", "never"
};

/// The messages of a command, on the standard error: `larkspan: SUBJECT: what happened`, or JSON
/// objects. Subjects and texts come ready to be printed.
class Console final {
 public:
  explicit Console(const ConsoleOptions& options);

  /// The name of a file or entry that is done, for those who asked for it.
  void ShowItem(Vx::UniString::View name);
  /// Something that is good to know.
  void Note(const std::string& subject, const std::string& text);
  /// The same, for those who asked to be told.
  void Detail(const std::string& subject, const std::string& text);
  /// Something could not be done, and the work goes on without it.
  void Warn(const std::string& subject, const std::string& text);
  /// What was asked for is done, and the answer is one that programs want to know.
  void MarkIncomplete() noexcept { outcome = std::max(outcome, ExitCode::Incomplete); }
  /// The end of a command, or of a part of it that others don't depend on.
  void Report(const Failure& failure);

  /// The worst of all that was told so far.
  [[nodiscard]] ExitCode GetOutcome() const noexcept { return outcome; }
  /// Whether good news aren't wanted.
  [[nodiscard]] bool IsQuiet() const noexcept { return quiet; }
  /// Whether everything is to be printed for programs.
  [[nodiscard]] bool IsJson() const noexcept { return json; }
  [[nodiscard]] Progress& GetProgress() noexcept { return progress; }

 private:
  enum class Kind : unsigned char { Note, Warning, Failure };

  void Print(Kind kind, const std::string& subject, std::string_view text, ExitCode code,
             const std::string& report = "");

  const bool quiet;
  const bool verbose;
  const bool json;
  const bool colored;
  ExitCode outcome = ExitCode::Done;
  Progress progress;
};

}  // namespace Tool
