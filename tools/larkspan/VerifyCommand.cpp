#include "tools/larkspan/VerifyCommand.h"

#include "tools/larkspan/ArchiveEndReport.h"
#include "tools/larkspan/ArchiveReader.h"
#include "tools/larkspan/JsonOutput.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

// "1 entry", "2 entries".
std::string Count(unsigned __int64 number, const char* one, const char* many) {
  return std::to_string(number) + " " + (number == 1 ? one : many);
}

// One archive, of which a damaged entry doesn't hide those behind it.
class Verification final {
 public:
  Verification(const std::string& given, unsigned int jobs, StandardOutput& results,
               Console& messages)
      : archive(given), output(results), console(messages), reader(archive, messages, jobs) {}

  void Run() {
    for (auto entry = reader.Next(); entry; entry = reader.Next()) {
      ++entries;
      if (!IsGood()) continue;
      bytes += entry->GetSize();
      console.ShowItem(entry->GetName().GetView());
    }
    console.GetProgress().Clear();
    if (console.IsQuiet() && IsRight()) return;
    output.Print(console.IsJson() ? ToJson() : reader.GetSubject() + ": " + Describe() + "\n");
  }

 private:
  [[nodiscard]] bool IsRight() const { return damaged == 0 && IsWhole(reader.GetEnd()); }

  bool IsGood() {
    try {
      reader.Verify();
      return true;
    } catch (const Failure& failure) {
      if (failure.GetExitCode() != ExitCode::BadArchive) throw;
      output.Flush();
      console.Report(failure);
    }
    ++damaged;
    reader.Leave();
    return false;
  }

  [[nodiscard]] std::string Describe() const {
    const Archive::ArchiveEnd end = reader.GetEnd();
    std::string text = IsRight() ? "ok (" : "not ok (";
    text += Count(entries, "entry", "entries");
    if (damaged > 0) text += ", " + std::to_string(damaged) + " of them damaged";
    return text + ", " + Count(bytes, "byte", "bytes") + ", " + DescribeSeal(end) + ")";
  }

  [[nodiscard]] std::string ToJson() const {
    JsonObject object("verification");
    object.PutText("archive", TextFromArgument(archive).GetView())
        .Put("ok", IsRight())
        .Put("entries", entries)
        .Put("damaged", damaged)
        .Put("size", bytes);
    PutEnd(reader.GetEnd(), object);
    return object.ToLine();
  }

  const std::string& archive;
  StandardOutput& output;
  Console& console;
  ArchiveReader reader;
  unsigned __int64 entries = 0;
  unsigned __int64 damaged = 0;
  unsigned __int64 bytes = 0;  // of good entries
};

}  // namespace

void RunVerify(const VerifyOptions& options, Console& console) {
  StandardOutput output;
  for (const std::string& archive : options.archives) {
    try {
      Verification(archive, options.jobs, output, console).Run();
    } catch (const Failure& failure) {
      output.Flush();
      console.Report(failure);
    }
  }
  output.Flush();
}

}  // namespace Tool
