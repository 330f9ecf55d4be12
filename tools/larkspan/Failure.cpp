#include "tools/larkspan/Failure.h"

#include <cstdio>
#include <utility>

#include "Larkspan/Common/ExceptionReport.h"
#include "foundation/IO/Status.h"
#include "tools/larkspan/Text.h"

namespace Tool {

Failure::Failure(ExitCode exitCode, std::string subject, std::string text, std::string report)
    : code(exitCode),
      message(std::move(subject) + ": " + std::move(text)),
      details(std::move(report)) {}

Failure SystemFailure(const std::string& subject, std::string_view action, int status) {
  return Failure(ExitCode::SystemFailure, subject,
                 std::string(action) + ": " + DescribeStatus(status));
}

Failure LibraryFailure(ExitCode code, const std::string& subject, std::string_view text,
                       const VxException& reason) {
  return Failure(code, subject, std::string(text) + ": " + ToPrintable(reason.GetMessage()),
                 Larkspan::Common::ToString(reason).ToUTF8());
}

std::string DescribeStatus(int status) {
  struct Row {
    int status;
    const char* words;
  };
  constexpr Row rows[] = {
      {::IO::StatusOutOfMemory, "out of memory"},
      {::IO::StatusInvalidLocation, "not a path that the system takes"},
      {::IO::StatusReadError, "the device failed to read"},
      {::IO::StatusOutputFull, "no space left"},
      {::IO::StatusWriteError, "the device failed to write"},
      {::IO::StatusFileNotFound, "not found"},
      {::IO::StatusNotFound, "not found"},
      {::IO::StatusAlreadyExists, "exists already"},
      {::IO::StatusAccessDenied, "access denied"},
      {::IO::StatusNotAFolder, "not a folder"},
      {::IO::StatusIsAFolder, "a folder"},
      {::IO::StatusFolderNotEmpty, "the folder is not empty"},
  };
  for (const Row& row : rows) {
    if (row.status == status) return row.words;
  }
  char number[16];
  std::snprintf(number, sizeof(number), "0x%08X", static_cast<unsigned int>(status));
  return std::string("the system refused, status ") + number;
}

}  // namespace Tool
