#include "tools/larkspan/VerifyCommand.h"

#include "tools/larkspan/ArchiveReader.h"
#include "tools/larkspan/OutputChannel.h"

namespace Tool {
namespace {

// "1 entry", "2 entries".
std::string Count(unsigned __int64 number, const char* one, const char* many) {
  return std::to_string(number) + " " + (number == 1 ? one : many);
}

void VerifyArchive(const std::string& archive, StandardOutput& output, Console& console) {
  ArchiveReader reader(archive, console);
  unsigned __int64 entries = 0;
  unsigned __int64 bytes = 0;
  for (auto entry = reader.Next(); entry; entry = reader.Next()) {
    reader.Verify();
    ++entries;
    bytes += entry->GetSize();
  }
  console.GetProgress().Clear();
  output.Print(reader.GetSubject() + ": ok (" + Count(entries, "entry", "entries") + ", " +
               Count(bytes, "byte", "bytes") + ")\n");
}

}  // namespace

void RunVerify(const VerifyOptions& options, Console& console) {
  StandardOutput output;
  for (const std::string& archive : options.archives) {
    try {
      VerifyArchive(archive, output, console);
    } catch (const Failure& failure) {
      output.Flush();
      console.Report(failure);
    }
  }
  output.Flush();
}

}  // namespace Tool
