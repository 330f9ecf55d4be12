#include "tools/larkspan/Console.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "foundation/IO/StandardStream.h"
#include "tools/larkspan/JsonOutput.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

bool WantsColor(const std::string& when) {
  if (when != "auto") return when == "always";
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here changes the environment
  const char* const refused = std::getenv("NO_COLOR");
  if (refused != nullptr && *refused != '\0') return false;
  return Progress::IsScreen();
}

}  // namespace

Console::Console(const ConsoleOptions& options)
    : quiet(options.quiet),
      verbose(options.verbose),
      json(options.json),
      colored(WantsColor(options.color)),
      progress(!options.noProgress && !quiet && !json) {}

// `report` is the chain of causes, for those who asked for it.
void Console::Print(Kind kind, const std::string& subject, std::string_view text, ExitCode code,
                    const std::string& report) {
  struct Row {
    const char* object;
    const char* color;
  };
  constexpr Row rows[] = {{"note", ""}, {"warning", "\x1b[1;33m"}, {"failure", "\x1b[1;31m"}};
  const Row& row = rows[static_cast<std::size_t>(kind)];
  progress.Clear();
  if (json) {
    JsonObject object(row.object);
    object.Put("subject", subject).Put("text", text);
    if (kind != Kind::Note) object.Put("exitCode", static_cast<int>(code));
    if (!report.empty()) object.Put("causes", report);
    std::fputs(object.ToLine().c_str(), stderr);
    return;
  }
  const bool plain = !colored || kind == Kind::Note;
  const std::string prefix = plain ? "larkspan:" : row.color + std::string("larkspan:\x1b[0m");
  std::fputs((prefix + " " + subject + ": " + std::string(text) + "\n").c_str(), stderr);
  if (!report.empty()) std::fputs((report + "\n").c_str(), stderr);
}

void Console::ShowItem(Vx::UniString::View name) {
  if (!verbose || quiet) return;
  progress.Clear();
  const std::string line =
      json ? JsonObject("item").PutText("name", name).ToLine() : ToPrintable(name) + "\n";
  std::fputs(line.c_str(), stderr);
}

void Console::Note(const std::string& subject, const std::string& text) {
  if (!quiet) Print(Kind::Note, subject, text, ExitCode::Done);
}

void Console::Detail(const std::string& subject, const std::string& text) {
  if (verbose) Note(subject, text);
}

void Console::Warn(const std::string& subject, const std::string& text) {
  Print(Kind::Warning, subject, text, ExitCode::Incomplete);
  MarkIncomplete();
}

void Console::Report(const Failure& failure) {
  const std::string& report = failure.GetReport();
  Print(Kind::Failure, failure.GetSubject(), failure.GetText(), failure.GetExitCode(),
        verbose && !report.empty() ? report.substr(1) : "");
  outcome = std::max(outcome, failure.GetExitCode());
}

}  // namespace Tool
