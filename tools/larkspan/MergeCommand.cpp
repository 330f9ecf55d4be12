#include "tools/larkspan/MergeCommand.h"

#include <algorithm>
#include <deque>
#include <optional>

#include "Larkspan/Archive/EntryName.h"
#include "Larkspan/Archive/EntrySelection.h"
#include "Larkspan/Common/IO/ArchiveHeaderSize.h"
#include "tools/larkspan/ArchiveEndReport.h"
#include "tools/larkspan/ArchiveReader.h"
#include "tools/larkspan/DryRun.h"
#include "tools/larkspan/Interruption.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/TargetFile.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

using Archive::ArchiveHeaders;
using Larkspan::Archive::ArchiveIndex;

// An archive that is read.
struct Input {
  explicit Input(const std::string& argument) : source(argument) {
    if (!source.IsNamed() || !source.IsFile()) {
      throw Failure(ExitCode::WrongUsage, source.GetSubject(), "is not a file");
    }
  }

  ArchiveSource source;
  std::optional<ArchiveIndex> index;
};

class Merger final {
 public:
  Merger(const MergeOptions& given, Console& messages) : options(given), console(messages) {}

  void Run() {
    for (const std::string& archive : options.archives) Add(archive);
    CheckNames();
    entries.KeepLast();
    entries.Settle(headers);
    TargetFile target(options.target, options.force);
    if (options.dryRun) {
      Show();
      return;
    }
    OutputChannel sink(target.Make(console), target.GetSubject());
    Vx::BufferedOBinaryChannel output(sink, OutputChannel::BufferSize);
    Write(output);
    CheckInterruption();
    target.Complete();
  }

 private:
  void Add(const std::string& argument) {
    Input& input = inputs.emplace_back(argument);
    const std::string& subject = input.source.GetSubject();
    PresentFailures([&] { input.index.emplace(input.source); },
                    [&](const VxException& exception) {
                      return LibraryFailure(ExitCode::BadArchive, subject, "bad archive",
                                            exception);
                    });
    const Archive::ArchiveEnd& end = input.index->GetEnd();
    if (!IsWhole(end)) {
      ReportHeaderCheck(subject, end, console);
      ReportEnd(subject, end, console);
      throw Failure(ExitCode::BadArchive, subject, "is not merged; nothing was written");
    }
    entries.Add(*input.index);
    for (const auto& [name, value] : input.index->GetHeaders().EnumeratePairs()) {
      const bool isPromise = name == Archive::ArchiveSeal::HeaderName && end.IsSealPromised();
      if (!isPromise && headers.Find(name) == nullptr) headers.Put(name, value);
    }
  }

  [[nodiscard]] bool HasEntry(const Vx::UniString& name) const {
    return std::ranges::any_of(
        inputs, [&](const Input& input) { return input.index->Find(name).has_value(); });
  }

  void CheckNames() const {
    for (std::size_t number = 0; number < entries.GetCount(); ++number) {
      Larkspan::Archive::ForEachFolderAbove(
          entries.GetName(number), [&](const Vx::UniString& folder) {
            if (!HasEntry(folder)) return;
            throw Failure(ExitCode::WrongUsage, ToPrintable(folder.GetView()),
                          "would be a file and a folder; nothing was written");
          });
    }
  }

  void Show() const {
    StandardOutput output;
    for (std::size_t number = 0; number < entries.GetCount(); ++number) {
      PrintStep(entries.IsDropped(number) ? "drop" : "add", entries.GetName(number), false, console,
                output);
    }
    output.Flush();
  }

  void Write(Vx::OBinaryChannel& output) {
    const unsigned int reserved =
        Archive::FitReservedHeaderSize(headers, Archive::DefaultReservedHeaderSize, true);
    Archive::ArchiveOBinaryChannel archive(output, reserved);
    for (const auto& [name, value] : headers.EnumeratePairs()) archive.PutHeader(name, value);
    archive.PromiseSeal();
    const unsigned __int64 size = entries.GetArchivedSize();
    console.GetProgress().BeginAll(size);
    console.GetProgress().BeginItem(TextFromArgument(options.target).GetView(), size, size);
    Larkspan::Archive::CopyOptions copying;
    copying.jobs = options.jobs;
    copying.progress = [this](unsigned int count) {
      CheckInterruption();
      console.GetProgress().Advance(count);
    };
    PresentFailures([&] { entries.Write(archive, copying); },
                    [](const VxException& exception) {
                      return LibraryFailure(ExitCode::BadArchive, "merge",
                                            "bad archive, nothing was written", exception);
                    });
    archive.WriteSeal();
    archive.Flush();
    output.Flush();
  }

  const MergeOptions& options;
  Console& console;
  std::deque<Input> inputs;
  Larkspan::Archive::EntrySelection entries;
  ArchiveHeaders headers;
};

}  // namespace

void RunMerge(const MergeOptions& options, Console& console) {
  Merger(options, console).Run();
}

}  // namespace Tool
