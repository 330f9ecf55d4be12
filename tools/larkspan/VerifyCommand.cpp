#include "tools/larkspan/VerifyCommand.h"

#include "tools/larkspan/ArchiveReader.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

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
