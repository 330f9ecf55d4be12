#include "tools/larkspan/InfoCommand.h"

#include <cstdio>

#include "tools/larkspan/ArchiveEndReport.h"
#include "tools/larkspan/ArchiveReader.h"
#include "tools/larkspan/JsonOutput.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

struct Totals {
  unsigned __int64 entries = 0;
  unsigned __int64 size = 0;
  unsigned __int64 archivedSize = 0;
};

std::string FormatRatio(const Totals& totals) {
  if (totals.size == 0) return "-";
  char text[32];
  std::snprintf(
      text, sizeof(text), "%.1f %%",
      100.0 * static_cast<double>(totals.archivedSize) / static_cast<double>(totals.size));
  return text;
}

void PrintJson(const InfoOptions& options, const ArchiveReader& reader, const Totals& totals,
               bool complete, StandardOutput& output) {
  const Archive::ArchiveEnd end = reader.GetArchive().GetEnd();
  JsonObject object("archive");
  object.PutText("archive", TextFromArgument(options.archive).GetView())
      .Put("complete", complete)
      .Put("reservedSize", reader.GetArchive().GetReservedHeaderSize())
      .Put("headers", reader.GetArchive().GetHeaderCount())
      .Put("entries", totals.entries)
      .Put("size", totals.size)
      .Put("archivedSize", totals.archivedSize)
      .Put("bytesRead", reader.GetPosition());
  PutEnd(end, object);
  output.Print(object.ToLine());
  output.Flush();
}

void PrintTotals(const ArchiveReader& reader, const Totals& totals, StandardOutput& output) {
  const Archive::ArchiveEnd end = reader.GetArchive().GetEnd();
  const bool headerWrong = end.headerCheck == Archive::ArchiveEnd::HeaderCheck::Wrong;
  const auto print = [&output](const char* name, const std::string& value) {
    output.Print(std::string(name) + ": " + value + "\n");
  };
  print("reserved size", std::to_string(reader.GetArchive().GetReservedHeaderSize()));
  print("headers", std::to_string(reader.GetArchive().GetHeaderCount()));
  print("entries", std::to_string(totals.entries));
  print("size", std::to_string(totals.size));
  print("archived size", std::to_string(totals.archivedSize));
  print("ratio", FormatRatio(totals));
  print("bytes read", std::to_string(reader.GetPosition()));
  print("seal", std::string(DescribeSeal(end)) + (headerWrong ? ", header not as written" : ""));
  output.Flush();
}

}  // namespace

void RunInfo(const InfoOptions& options, Console& console) {
  ArchiveReader reader(options.archive, console);
  StandardOutput output;
  Totals totals;
  const auto print = [&](bool complete) {
    console.GetProgress().Clear();
    if (console.IsJson()) {
      PrintJson(options, reader, totals, complete, output);
    } else {
      PrintTotals(reader, totals, output);
    }
  };
  try {
    for (auto entry = reader.Next(); entry; entry = reader.Next()) {
      reader.Leave();
      ++totals.entries;
      totals.size += entry->GetSize();
      totals.archivedSize += entry->GetArchivedSize();
    }
  } catch (const Failure&) {
    print(false);
    throw;
  }
  print(true);
}

}  // namespace Tool
