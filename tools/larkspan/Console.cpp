#include "tools/larkspan/Console.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "foundation/IO/StandardStream.h"
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
      colored(WantsColor(options.color)),
      progress(!options.noProgress && !quiet) {}

void Console::Print(const std::string& text, Color color) {
  progress.Clear();
  std::string prefix = "larkspan:";
  if (colored && color != Color::Plain) {
    prefix = (color == Color::Red ? "\x1b[1;31m" : "\x1b[1;33m") + prefix + "\x1b[0m";
  }
  std::fputs((prefix + " " + text + "\n").c_str(), stderr);
}

void Console::ShowItem(Vx::UniString::View name) {
  if (!verbose || quiet) return;
  progress.Clear();
  std::fputs((ToPrintable(name) + "\n").c_str(), stderr);
}

void Console::Note(const std::string& subject, const std::string& text) {
  if (!quiet) Print(subject + ": " + text, Color::Plain);
}

void Console::Detail(const std::string& subject, const std::string& text) {
  if (verbose) Note(subject, text);
}

void Console::Warn(const std::string& subject, const std::string& text) {
  Print(subject + ": " + text, Color::Yellow);
  MarkIncomplete();
}

void Console::Report(const Failure& failure) {
  Print(failure.what(), Color::Red);
  outcome = std::max(outcome, failure.GetExitCode());
  if (verbose && !failure.GetReport().empty()) {
    std::fputs((failure.GetReport().substr(1) + "\n").c_str(), stderr);
  }
}

}  // namespace Tool
