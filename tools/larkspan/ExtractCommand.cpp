#include "tools/larkspan/ExtractCommand.h"

#include "Larkspan/Archive/EntryName.h"
#include "Larkspan/Archive/TreeExtractor.h"
#include "Larkspan/Common/IO/EntryLocation.h"
#include "foundation/IO/FileSystem.h"
#include "tools/larkspan/ArchiveReader.h"
#include "tools/larkspan/DryRun.h"
#include "tools/larkspan/NameSelection.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/PathArgument.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

using Larkspan::Archive::TreeExtractor;
using Step = TreeExtractor::Step;

TreeExtractor::Overwrite GetOverwrite(const std::string& word) {
  using Overwrite = TreeExtractor::Overwrite;
  if (word == "always") return Overwrite::Always;
  return word == "skip" ? Overwrite::Skip : Overwrite::Fail;
}

const char* Describe(Step step) noexcept {
  switch (step) {
    case Step::Make:
      return "can't be made";
    case Step::Enter:
      return "can't be entered";
    case Step::Look:
      return "can't be looked at";
    case Step::Sync:
      return "can't be synced";
    case Step::Name:
      return "can't be given its name";
    case Step::MakeLink:
      return "the link can't be made";
    case Step::MakeFolder:
      return "the folder can't be made";
    default:
      return "can't be written";
  }
}

// Tells what happens in the words of the tool, and ends the work where it is to end.
class Reporter final : public TreeExtractor::Watcher {
 public:
  Reporter(const ExtractOptions& given, const std::string& archive, Console& messages)
      : options(given), subject(archive), console(messages) {}

  void OnItem(const Vx::UniString& name) override { console.ShowItem(name.GetView()); }

  void OnLeftOut(TreeExtractor::Reason reason, const ::IO::Location& location,
                 std::string_view detail) override {
    using Reason = TreeExtractor::Reason;
    const std::string path = ToPrintable(location);
    switch (reason) {
      case Reason::UnfinishedName:
        console.Warn(path, "left out: the name is one of unfinished files");
        break;
      case Reason::LeadsOut:
        console.Warn(path, "left out: a link that may lead out of the target folder, to " +
                               ToPrintable(detail) + "; --unsafe-links makes it");
        break;
      case Reason::LostSource:
        console.Warn(
            path, "left out: another name of " + ToPrintable(detail) + ", which was not extracted");
        break;
      case Reason::Exists:
        console.Detail(path, "exists already, and stays");
        break;
    }
  }

  void OnAttributesLost(const ::IO::Location& location, int status) override {
    console.Warn(ToPrintable(location), "mode and time can't be set: " + DescribeStatus(status));
  }

  void OnRefused(Step step, const ::IO::Location& location, int status) override {
    if (step == Step::Exists) {
      throw Failure(ExitCode::SystemFailure, ToPrintable(location),
                    "exists already; --overwrite skip or always says what to do");
    }
    throw SystemFailure(ToPrintable(location), Describe(step), status);
  }

  void OnFault(TreeExtractor::Fault fault, const Vx::UniString& name,
               const VxException* reason) override {
    using Fault = TreeExtractor::Fault;
    const std::string entry = "entry " + ToPrintable(name.GetView()) + ": ";
    switch (fault) {
      case Fault::BadName:
        throw LibraryFailure(ExitCode::BadArchive, subject,
                             "the name " + ToPrintable(name.GetView()) + " is refused", *reason);
      case Fault::BadLink:
        throw LibraryFailure(ExitCode::BadArchive, subject, entry + "it is no link to an entry",
                             *reason);
      case Fault::LongLink:
        throw Failure(ExitCode::BadArchive, subject, entry + "no link has a target of that length");
      case Fault::TooLarge:
        throw Failure(ExitCode::BadArchive, subject,
                      entry + "the files are larger than the " + std::to_string(options.maxSize) +
                          " bytes that --max-size allows");
    }
  }

  // With --keep-going, what is bad costs nothing but itself.
  bool GoesOn() override {
    try {
      throw;
    } catch (const Failure& failure) {
      if (!options.keepGoing || failure.GetExitCode() != ExitCode::BadArchive) return false;
      console.Report(failure);
      return true;
    } catch (...) {
      return false;
    }
  }

 private:
  const ExtractOptions& options;
  const std::string& subject;
  Console& console;
};

// Reads and verifies everything, and prints what would become of it.
class Preview final {
 public:
  Preview(const ExtractOptions& given, ArchiveReader& entries, NameSelection& names,
          Reporter& observer, const Console& messages)
      : options(given),
        console(messages),
        reader(entries),
        selection(names),
        reporter(observer),
        folder(LocationFromArgument(given.folder.empty() ? "." : given.folder)),
        output(given.null) {}

  void Run() {
    for (auto entry = reader.Next(); entry; entry = reader.Next()) {
      try {
        Show(entry->GetName());
      } catch (const Failure&) {
        if (!reporter.GoesOn()) throw;
        reader.Leave();
      }
    }
    output.Flush();
  }

 private:
  void Show(const Vx::UniString& name) {
    const Vx::UniString left = Larkspan::Archive::StripParts(name, options.stripComponents);
    if (!selection.TakeTree(name) || left.IsEmpty()) return reader.Leave();
    const ::IO::Location location = Locate(name, left);
    reader.Verify();
    ::IO::Attributes present;
    const int status = ::IO::fileSystem.GetAttributes(location, &present, false);
    const bool isFree = status == ::IO::StatusNotFound || status == ::IO::StatusNotAFolder;
    if (!isFree && status != 0) reporter.OnRefused(Step::Look, location, status);
    if (!isFree && options.overwrite == "fail") reporter.OnRefused(Step::Exists, location, status);
    const char* const action = options.overwrite == "skip" ? "keep" : "replace";
    PrintStep(isFree ? "extract" : action, left, false, console, output);
  }

  [[nodiscard]] ::IO::Location Locate(const Vx::UniString& name, const Vx::UniString& left) {
    try {
      static_cast<void>(Archive::LocationFromEntryName(folder, name));
      return Archive::LocationFromEntryName(folder, left);
    } catch (const Vx::OutOfMemoryException&) {
      throw;
    } catch (const VxException& exception) {
      reporter.OnFault(TreeExtractor::Fault::BadName, name, &exception);
      throw;
    }
  }

  const ExtractOptions& options;
  const Console& console;
  ArchiveReader& reader;
  NameSelection& selection;
  Reporter& reporter;
  const ::IO::Location folder;
  StandardOutput output;
};

}  // namespace

void RunExtract(const ExtractOptions& options, Console& console) {
  NameSelection selection(options);
  ArchiveReader reader(options.archive, console, options.jobs);
  if (selection.HasPatterns()) {
    reader.LookAhead([&](const Vx::UniString& name) { selection.Note(name); });
  }
  Reporter reporter(options, reader.GetSubject(), console);
  if (options.dryRun) {
    Preview(options, reader, selection, reporter, console).Run();
    selection.ReportMissing(reader.GetSubject(), console);
    return;
  }
  TreeExtractor::Options wanted;
  wanted.overwrite = GetOverwrite(options.overwrite);
  wanted.makeUnsafeLinks = options.unsafeLinks;
  wanted.restoreOwners = options.sameOwner && !options.noSameOwner;
  wanted.sync = options.sync;
  wanted.stripParts = options.stripComponents;
  wanted.maxSize = options.maxSize;
  if (!selection.IsEmpty()) {
    wanted.filter = [&](const Vx::UniString& name, bool isFolder) {
      return selection.TakeTree(name, isFolder);
    };
  }
  const ::IO::Location folder = LocationFromArgument(options.folder.empty() ? "." : options.folder);
  TreeExtractor(reader, folder, wanted, reporter).Extract();
  selection.ReportMissing(reader.GetSubject(), console);
}

}  // namespace Tool
