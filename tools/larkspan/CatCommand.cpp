#include "tools/larkspan/CatCommand.h"

#include "foundation/IO/Processors.h"
#include "tools/larkspan/ArchiveReader.h"
#include "tools/larkspan/NameSelection.h"
#include "tools/larkspan/OutputChannel.h"

namespace Tool {

void RunCat(const CatOptions& options, Console& console) {
  if (::IO::IsTerminal(::IO::StandardStream::Output)) console.GetProgress().Disable();
  NameSelection selection(options);
  using Choice = ArchiveReader::Choice;
  ArchiveReader reader(options.archive, console, ::IO::GetProcessorCount(),
                       [&selection](const Archive::ArchiveEntry& entry) {
                         if (selection.AreAllMet()) return Choice::Stop;
                         return selection.TakeOnce(entry.GetName()) ? Choice::Take : Choice::Pass;
                       });
  if (selection.HasPatterns()) {
    reader.LookAhead([&](const Vx::UniString& name) { selection.Note(name); });
  }
  StandardOutput output;
  // Entries may be chosen ahead of those that are read.
  while ((reader.IsAhead() || !selection.AreAllMet()) && reader.Next()) {
    for (auto chunk = reader.ReadChunk(); !chunk.empty(); chunk = reader.ReadChunk()) {
      output.Print(chunk);
    }
    reader.Verify();
  }
  output.Flush();
  selection.ReportMissing(reader.GetSubject(), console);
}

}  // namespace Tool
