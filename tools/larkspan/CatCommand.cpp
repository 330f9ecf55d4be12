#include "tools/larkspan/CatCommand.h"

#include "tools/larkspan/ArchiveReader.h"
#include "tools/larkspan/NameSelection.h"
#include "tools/larkspan/OutputChannel.h"

namespace Tool {

void RunCat(const CatOptions& options, Console& console) {
  if (::IO::IsTerminal(::IO::StandardStream::Output)) console.GetProgress().Disable();
  NameSelection selection(options.entries);
  ArchiveReader reader(options.archive, console);
  StandardOutput output;
  while (!selection.AreAllMet()) {
    const ArchiveReader::EntryRef entry = reader.Next();
    if (!entry) break;
    if (!selection.TakeOnce(entry->GetName())) continue;
    for (auto chunk = reader.ReadChunk(); !chunk.empty(); chunk = reader.ReadChunk()) {
      output.Print(chunk);
    }
    reader.Verify();
  }
  output.Flush();
  selection.ReportMissing(reader.GetSubject(), console);
}

}  // namespace Tool
