#include "tools/larkspan/NameFile.h"

#include <algorithm>
#include <utility>

#include "foundation/IO/File.h"
#include "foundation/IO/Status.h"
#include "tools/larkspan/Failure.h"
#include "tools/larkspan/Interruption.h"
#include "tools/larkspan/PathArgument.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

std::string ReadAll(const std::string& argument) {
  EndWhereBlocked();  // a file's name may be a pipe's
  if (argument == "-") ClaimStandardInput();
  ::IO::File file = argument == "-"
                        ? ::IO::File(::IO::StandardStream::Input)
                        : ::IO::File(LocationFromArgument(argument), ::IO::OnNotFound::Ignore);
  int status =
      file.IsOpen() ? 0 : file.Open(::IO::OpenMode::Read, ::IO::AccessDeniedTreatment::Report);
  std::string text;
  while (status == 0) {
    char buffer[0x4000];
    unsigned int count = 0;
    status = file.ReadBin(buffer, sizeof(buffer), &count);
    text.append(buffer, count);
    CheckInterruption();
  }
  if (status == ::IO::StatusEndOfInput) return text;
  throw SystemFailure(argument == "-" ? "standard input" : ToPrintable(argument), "can't be read",
                      status);
}

}  // namespace

std::vector<std::string> ReadNames(const std::string& file, bool null) {
  const std::string text = ReadAll(file);
  std::vector<std::string> names;
  for (std::size_t start = 0, end = 0; start < text.size(); start = end + 1) {
    end = std::min(text.find(null ? '\0' : '\n', start), text.size());
    if (end != start) names.push_back(text.substr(start, end - start));
  }
  if (null || text.find('\0') == text.npos) return names;
  throw Failure(ExitCode::WrongUsage, ToPrintable(file),
                "has zero bytes between its names; --null reads those");
}

void AppendNames(const std::vector<std::string>& files, bool null,
                 std::vector<std::string>& names) {
  for (const std::string& file : files) {
    for (std::string& name : ReadNames(file, null)) names.push_back(std::move(name));
  }
}

}  // namespace Tool
