#include "tools/larkspan/HeadersCommand.h"

#include "Larkspan/Common/IO/ArchiveFile.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "foundation/IO/FileSystem.h"
#include "tools/larkspan/ArchiveEndReport.h"
#include "tools/larkspan/ArchiveReader.h"
#include "tools/larkspan/EntryFacts.h"
#include "tools/larkspan/HeaderArguments.h"
#include "tools/larkspan/Interruption.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/PathArgument.h"
#include "tools/larkspan/Text.h"
#include "tools/larkspan/UnfinishedFile.h"

namespace Tool {
namespace {

using Archive::ArchiveHeaders;

::IO::Attributes GetAttributes(const ::IO::Location& location) {
  ::IO::Attributes attributes;
  const int status = ::IO::fileSystem.GetAttributes(location, &attributes, true);
  if (status != 0) throw SystemFailure(ToPrintable(location), "can't be looked at", status);
  return attributes;
}

// A room that lies beyond the file is none: to write headers into it would make a large file, of
// zeros in place of what was cut off.
void CheckRoom(const std::string& subject, unsigned __int64 size, unsigned int reserved) {
  if (size >= reserved) return;
  throw Failure(ExitCode::BadArchive, subject,
                "bad archive: it ends inside its header, of " + std::to_string(reserved) +
                    " bytes; nothing was changed");
}

// Entries that can't be reached would be lost to a rewrite for good.
void CheckEnd(const std::string& subject, const Archive::ArchiveEnd& end, Console& console) {
  using enum Archive::ArchiveEnd::State;
  if (end.state == EndsAtFooter || end.state == SealedRight) return;
  ReportEnd(subject, end, console);
  throw Failure(ExitCode::BadArchive, subject,
                "the headers need a larger file, and the archive is not rewritten while it does "
                "not end as it should; nothing was changed");
}

void CheckHeader(const std::string& subject, Archive::ArchiveEnd::HeaderCheck check,
                 Console& console) {
  if (check != Archive::ArchiveEnd::HeaderCheck::Wrong) return;
  console.Warn(
      subject,
      "its header is torn, or was changed by a program that does not know the seal. From now "
      "on it counts as right: look at all headers");
}

void Update(Archive::ArchiveFile& archive) {
  const bool rewrite = archive.NeedsRewrite();
  const ::IO::Location copy = rewrite ? archive.GetRewriteLocation() : ::IO::Location();
  // The library removes it after a failure. Only an interruption leaves that to the tool.
  UnfinishedFile unfinished(copy);
  unfinished.Keep();
  archive.Update();
}

template <class Change>
void ChangeFile(const std::string& argument, Console& console, Change&& change) {
  const ::IO::Location location = LocationFromArgument(argument);
  const std::string subject = ToPrintable(argument);
  Archive::ArchiveFile archive(location);
  archive.LockForUpdate();
  const unsigned int reserved = archive.GetReservedHeaderSize();
  const ::IO::Attributes before = GetAttributes(location);
  CheckRoom(subject, before.size, reserved);
  change(archive);
  if (!archive.IsUpdated()) return;
  if (archive.NeedsRewrite()) CheckEnd(subject, archive.GetEnd(), console);
  CheckHeader(subject, archive.GetHeaderCheck(), console);
  Update(archive);
  if (GetAttributes(location).IsSameItem(before)) {
    console.Detail(subject, "changed in place");
    return;
  }
  console.Detail(subject, "rewritten, with " + std::to_string(archive.GetReservedHeaderSize()) +
                              " bytes reserved instead of " + std::to_string(reserved));
  if (archive.HasKeptOwner()) return;
  console.Note(subject,
               "rewritten; the system did not let it keep its owner, group or permissions");
}

// Reads the headers, lets `change` work on them, and updates the file.
template <class Change>
void ChangeHeaders(const std::string& argument, Console& console, Change&& change) {
  if (argument == "-") {
    throw Failure(ExitCode::WrongUsage, "-", "headers are changed in a file; name one");
  }
  EndWhereBlocked();  // a file's name may be a pipe's
  PresentFailures(
      [&] { ChangeFile(argument, console, change); },
      // The failure says what was done, not whose fault it is: the archive's, if reading it fails.
      [&](const VxException& exception) {
        ArchiveReader reader(argument, console);
        while (reader.Next()) {
        }
        return LibraryFailure(ExitCode::SystemFailure, ToPrintable(argument), "can't be changed",
                              exception);
      });
}

void PrintAll(const ArchiveReader& reader, StandardOutput& output) {
  for (const auto& [name, value] : reader.GetArchive().EnumerateHeaders()) {
    output.Print(ToPrintable(name.GetView()) + "=" + ToPrintable(value.GetView()) + "\n");
  }
}

// A program gets the value as it is.
std::string FormatValue(const Vx::UniString& value) {
  const bool terminal = ::IO::IsTerminal(::IO::StandardStream::Output);
  return (terminal ? ToPrintable(value.GetView()) : ToBytes(value.GetView())) + "\n";
}

// Whether the header is the library's own.
bool IsPromise(const Archive::ArchiveFile& archive, const Vx::UniString& name) {
  return name == Archive::ArchiveSeal::HeaderName &&
         archive.GetHeaderCheck() != Archive::ArchiveEnd::HeaderCheck::None;
}

Vx::UniString NameFromArgument(const std::string& argument) {
  if (!argument.empty()) return TextFromArgument(argument);
  throw Failure(ExitCode::WrongUsage, "\"\"", "not a header name");
}

}  // namespace

void RunHeadersGet(const HeadersGetOptions& options, Console& console) {
  const ArchiveReader reader(options.archive, console);
  StandardOutput output;
  if (options.names.empty()) PrintAll(reader, output);
  for (const std::string& argument : options.names) {
    Vx::UniString value;
    if (reader.GetArchive().GetHeader(NameFromArgument(argument), value)) {
      output.Print(FormatValue(value));
    } else {
      console.Warn(reader.GetSubject(), "no header named " + ToPrintable(argument));
    }
  }
  output.Flush();
}

void RunHeadersSet(const HeadersSetOptions& options, Console& console) {
  ArchiveHeaders headers;
  for (const std::string& header : options.headers) PutHeaderArgument(header, headers);
  ChangeHeaders(options.archive, console, [&headers](Archive::ArchiveFile& archive) {
    for (const auto& [name, value] : headers.EnumeratePairs()) archive.PutHeader(name, value);
  });
}

void RunHeadersClear(const HeadersClearOptions& options, Console& console) {
  if (options.all != options.names.empty()) {
    throw Failure(ExitCode::WrongUsage, "headers clear", "takes either names or --all");
  }
  ChangeHeaders(options.archive, console, [&](Archive::ArchiveFile& archive) {
    std::vector<Vx::UniString> names;
    for (const std::string& argument : options.names) names.push_back(NameFromArgument(argument));
    for (const auto& [name, value] : archive.EnumerateHeaders()) {
      const bool folder = name.GetView().starts_with(EntryFacts::FolderPrefix);
      if (options.all && !folder && !IsPromise(archive, name)) names.push_back(name);
    }
    for (const Vx::UniString& name : names) {
      if (IsPromise(archive, name)) {
        throw Failure(ExitCode::WrongUsage, ToPrintable(name.GetView()),
                      "this header is the archive's own, and kept by it");
      }
      if (archive.ConstainsHeader(name)) {
        archive.ClearHeader(name);
      } else {
        console.Warn(ToPrintable(options.archive),
                     "no header named " + ToPrintable(name.GetView()));
      }
    }
  });
}

}  // namespace Tool
