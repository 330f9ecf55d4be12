#include "tools/larkspan/Console.h"

#include <algorithm>
#include <cstdio>

namespace Tool {

void Console::Print(const std::string& text) {
  progress.Clear();
  std::fputs(("larkspan: " + text + "\n").c_str(), stderr);
}

void Console::Note(const std::string& subject, const std::string& text) {
  Print(subject + ": " + text);
}

void Console::Detail(const std::string& subject, const std::string& text) {
  if (verbose) Note(subject, text);
}

void Console::Warn(const std::string& subject, const std::string& text) {
  Note(subject, text);
  outcome = std::max(outcome, ExitCode::Incomplete);
}

void Console::Report(const Failure& failure) {
  Print(failure.what());
  outcome = std::max(outcome, failure.GetExitCode());
  if (verbose && !failure.GetReport().empty()) {
    std::fputs((failure.GetReport().substr(1) + "\n").c_str(), stderr);
  }
}

}  // namespace Tool
