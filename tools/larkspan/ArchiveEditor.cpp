#include "tools/larkspan/ArchiveEditor.h"

#include "foundation/IO/FileSystem.h"
#include "tools/larkspan/ArchiveEndReport.h"
#include "tools/larkspan/ArchiveReader.h"
#include "tools/larkspan/Interruption.h"
#include "tools/larkspan/PathArgument.h"
#include "tools/larkspan/Text.h"
#include "tools/larkspan/UnfinishedFile.h"

namespace Tool {
namespace {

::IO::Location Prepare(const std::string& argument) {
  EndWhereBlocked();  // a file's name may be a pipe's
  return LocationFromArgument(argument);
}

::IO::Attributes LookAt(const ::IO::Location& location) {
  ::IO::Attributes attributes;
  const int status = ::IO::fileSystem.GetAttributes(location, &attributes, true);
  if (status != 0) throw SystemFailure(ToPrintable(location), "can't be looked at", status);
  return attributes;
}

}  // namespace

ArchiveEditor::ArchiveEditor(const std::string& argument, Console& messages)
    : console(messages),
      title(TextFromArgument(argument)),
      subject(ToPrintable(title.GetView())),
      location(Prepare(argument)),
      change(location),
      before(LookAt(location)) {
  CheckRoom();
}

// A room that lies beyond the file is none: to write headers into it would make a large file, of
// zeros in place of what was cut off.
void ArchiveEditor::CheckRoom() const {
  const unsigned int reserved = change.GetReservedHeaderSize();
  if (before.size >= reserved) return;
  throw Failure(ExitCode::BadArchive, subject,
                "bad archive: it ends inside its header, of " + std::to_string(reserved) +
                    " bytes; nothing was changed");
}

void ArchiveEditor::CheckEnd(const std::string& reason) {
  using enum Archive::ArchiveEnd::State;
  const Archive::ArchiveEnd end = change.GetIndex().GetEnd();
  if (end.state == EndsAtFooter || end.state == SealedRight) return;
  ReportEnd(subject, end, console);
  throw Failure(ExitCode::BadArchive, subject,
                reason +
                    "the archive is not rewritten while it does not end as it should; nothing "
                    "was changed");
}

void ArchiveEditor::CheckHeader() {
  if (change.GetHeaderCheck() != Archive::ArchiveEnd::HeaderCheck::Wrong) return;
  console.Warn(
      subject,
      "its header is torn, or was changed by a program that does not know the seal. From now "
      "on it counts as right: look at all headers");
}

void ArchiveEditor::Commit(unsigned int jobs, const Change::Append& append) {
  const bool rewrite = append || change.NeedsRewrite();
  if (rewrite) {
    const bool sameEntries = !append && !change.GetEntries().IsChanged();
    CheckEnd(sameEntries ? "the headers need a larger file, and " : "");
  }
  CheckHeader();
  const unsigned int reserved = change.GetReservedHeaderSize();
  const ::IO::Location copy = rewrite ? change.GetRewriteLocation() : ::IO::Location();
  // The library removes it after a failure. Only an interruption leaves that to the tool.
  UnfinishedFile unfinished(copy);
  unfinished.Keep();
  if (!append && rewrite) {
    const unsigned __int64 size = change.GetEntries().GetArchivedSize();
    console.GetProgress().BeginAll(size);
    console.GetProgress().BeginItem(title.GetView(), size, size);
  }
  Larkspan::Archive::CopyOptions options;
  options.jobs = jobs;
  options.progress = [this](unsigned int size) {
    CheckInterruption();
    console.GetProgress().Advance(size);
  };
  const Change::Result result = change.Commit(options, append);
  if (!result.isRewritten) {
    console.Detail(subject, "changed in place");
    return;
  }
  console.Detail(subject, "rewritten, with " + std::to_string(result.reservedHeaderSize) +
                              " bytes reserved instead of " + std::to_string(reserved));
  if (result.ownerKept) return;
  console.Note(subject,
               "rewritten; the system did not let it keep its owner, group or permissions");
}

Failure DescribeChangeFailure(const std::string& argument, const VxException& exception,
                              Console& console) {
  ArchiveReader reader(argument, console);
  while (reader.Next()) {
  }
  return LibraryFailure(ExitCode::SystemFailure, ToPrintable(argument), "can't be changed",
                        exception);
}

}  // namespace Tool
