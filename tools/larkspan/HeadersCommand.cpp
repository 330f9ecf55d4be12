#include "tools/larkspan/HeadersCommand.h"

#include "Larkspan/Common/IO/ArchiveFile.h"
#include "foundation/IO/FileSystem.h"
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

// Where an update makes a new file. Something that stands there may be a change that is under way,
// or what somebody else keeps there: it is not for an update to remove.
::IO::Location FindRewriteLocation(const Archive::ArchiveFile& archive) {
  ::IO::Location location = archive.GetRewriteLocation();
  bool found = false;
  const int status = ::IO::fileSystem.Contains(location, &found);
  if (status != 0) throw SystemFailure(ToPrintable(location), "can't be looked at", status);
  if (!found) return location;
  throw Failure(ExitCode::SystemFailure, ToPrintable(location),
                "stands where the archive is rewritten: another change is under way, or was "
                "interrupted; remove it if not");
}

void Update(Archive::ArchiveFile& archive) {
  const ::IO::Location copy =
      archive.NeedsRewrite() ? FindRewriteLocation(archive) : ::IO::Location();
  UnfinishedFile unfinished(copy);
  archive.Update();
  unfinished.Keep();
}

template <class Change>
void ChangeFile(const std::string& argument, Console& console, Change&& change) {
  const ::IO::Location location = LocationFromArgument(argument);
  Archive::ArchiveFile archive(location);
  const unsigned int reserved = archive.GetReservedHeaderSize();
  const ::IO::Attributes before = GetAttributes(location);
  CheckHeaderSize(ToPrintable(argument), before.size, reserved, console);
  change(archive);
  if (!archive.IsUpdated()) return;
  Update(archive);
  if (GetAttributes(location).IsSameItem(before)) {
    console.Detail(ToPrintable(argument), "changed in place");
  } else {
    console.Detail(ToPrintable(argument),
                   "rewritten, with " + std::to_string(archive.GetReservedHeaderSize()) +
                       " bytes reserved instead of " + std::to_string(reserved));
  }
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
      if (options.all && !folder) names.push_back(name);
    }
    for (const Vx::UniString& name : names) {
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
