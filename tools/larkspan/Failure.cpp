#include "tools/larkspan/Failure.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <utility>

#include "Larkspan/Common/ExceptionReport.h"
#include "foundation/IO/Status.h"
#include "foundation/IO/SystemError.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

// `systemError` is the value of `errno` behind the status, or 0.
std::string DescribeStatus(int status, int systemError) {
  struct Row {
    const char* words;
    int status;
    bool hasOneReason = true;  // else the system knows it better
  };
  constexpr Row rows[] = {
      {"out of memory", ::IO::StatusOutOfMemory},
      {"not a path that the system takes", ::IO::StatusInvalidLocation, false},
      {"the device failed to read", ::IO::StatusReadError, false},
      {"no space left", ::IO::StatusOutputFull, false},
      {"the device failed to write", ::IO::StatusWriteError, false},
      {"nobody reads the other end of the pipe", ::IO::StatusPipeClosed},
      {"not found", ::IO::StatusFileNotFound},
      {"not found", ::IO::StatusNotFound},
      {"exists already", ::IO::StatusAlreadyExists},
      {"access denied", ::IO::StatusAccessDenied, false},
      {"not a folder", ::IO::StatusNotAFolder},
      {"a folder", ::IO::StatusIsAFolder},
      {"the folder is not empty", ::IO::StatusFolderNotEmpty},
      {"not a file", ::IO::StatusNotAFile},
      {"a symbolic link stands on the way", ::IO::StatusLinkOnTheWay},
  };
  const auto* const row = std::ranges::find(rows, status, &Row::status);
  const bool known = row != std::end(rows);
  if (systemError != 0 && (!known || !row->hasOneReason)) {
    return ToPrintable(::IO::DescribeSystemError(systemError).GetView());
  }
  if (known) return row->words;
  char number[16];
  std::snprintf(number, sizeof(number), "0x%08X", static_cast<unsigned int>(status));
  return std::string("the system refused, status ") + number;
}

// The message, and what the system refused, if the exception or one of its causes knows.
std::string Describe(const VxException& exception) {
  std::string text = ToPrintable(exception.GetMessage());
  for (const VxException* level = &exception; level != nullptr; level = level->GetCause()) {
    const Vx::FailureDetail* const detail = level->GetDetail();
    if (detail == nullptr) continue;
    if (text.ends_with('.')) text.pop_back();
    const std::string path = ToPrintable(detail->path.GetView());
    return text + " (" + (path.empty() ? path : path + ": ") +
           DescribeStatus(detail->status, detail->systemError) + ")";
  }
  return text;
}

}  // namespace

Failure::Failure(ExitCode exitCode, std::string subject, std::string text, std::string report)
    : code(exitCode),
      about(std::move(subject)),
      message(about + ": " + std::move(text)),
      details(std::move(report)) {}

Failure SystemFailure(const std::string& subject, std::string_view action, int status) {
  return Failure(ExitCode::SystemFailure, subject,
                 std::string(action) + ": " + DescribeStatus(status));
}

Failure LibraryFailure(ExitCode code, const std::string& subject, std::string_view text,
                       const VxException& reason) {
  return Failure(code, subject, std::string(text) + ": " + Describe(reason),
                 Larkspan::Common::ToString(reason).ToUTF8());
}

std::string DescribeStatus(int status) {
  return DescribeStatus(status, ::IO::GetSystemError(status));
}

}  // namespace Tool
