#include "tools/larkspan/HeadersCommand.h"

#include "Larkspan/Common/IO/ArchiveFile.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/Vx/OutOfMemoryException.h"
#include "tools/larkspan/ArchiveReader.h"
#include "tools/larkspan/EntryFacts.h"
#include "tools/larkspan/HeaderArguments.h"
#include "tools/larkspan/Interruption.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

using Archive::ArchiveHeaders;

// The file under a name is another one after a rewrite.
unsigned __int64 GetNode(const ::IO::Location& place) {
  ::IO::Attributes attributes;
  return ::IO::fileSystem.GetAttributes(place, &attributes, true) == 0 ? attributes.node : 0;
}

void ReadToEnd(const std::string& archive, Console& console) {
  ArchiveReader reader(archive, console);
  while (reader.Next()) {
  }
}

// Where an update makes a new file, if it has to. Something that stands there may be a change that
// is under way, or what somebody else keeps there: it is not for an update to remove.
::IO::Location FindRewritePlace(const Archive::ArchiveFile& archive) {
  Vx::UniString path(archive.GetLocation().GetPath());
  path.Append(u".updated");
  ::IO::Location place;
  bool found = false;
  int status = place.Set(path);
  if (status == 0) status = ::IO::fileSystem.Contains(place, &found);
  if (status != 0) throw SystemFailure(ToPrintable(path.GetView()), "can't be looked at", status);
  if (!found) return place;
  ArchiveHeaders headers;
  for (const auto& [name, value] : archive.EnumerateHeaders()) headers.Put(name, value);
  if (GetHeaderSize(headers) <= archive.GetReservedHeaderSize()) return {};
  throw Failure(ExitCode::SystemFailure, ToPrintable(place),
                "stands where the archive is rewritten: another change is under way, or was cut "
                "short; remove it if not");
}

// An update that failed says what it was doing, not whose fault it is: the archive's, if it can't
// be read now either.
void Update(const std::string& argument, Archive::ArchiveFile& archive, Console& console) {
  const ::IO::Location place = FindRewritePlace(archive);
  UnfinishedFile unfinished(place);
  try {
    archive.Update();
    unfinished.Keep();
  } catch (const Vx::OutOfMemoryException&) {
    throw;
  } catch (const VxException& exception) {
    ReadToEnd(argument, console);
    throw LibraryFailure(ExitCode::SystemFailure, ToPrintable(argument), "can't be changed",
                         exception);
  }
}

// Reads the headers, lets `change` work on them, and brings them to the file.
template <class Change>
void ChangeHeaders(const std::string& argument, Console& console, Change&& change) {
  if (argument == "-") {
    throw Failure(ExitCode::WrongUsage, "-", "headers are changed in a file; name one");
  }
  // A bad header and a file that can't be read are told apart here.
  const ArchiveReader reader(argument, console);
  const unsigned int reserved = reader.GetArchive().GetReservedHeaderSize();
  ::IO::Location place = LocationFromArgument(argument);
  ::IO::Location real;  // a link stays one
  if (::IO::fileSystem.Resolve(place, real) == 0) place = real;
  Archive::ArchiveFile archive(place);
  change(archive);
  if (!archive.IsUpdated()) return;
  const unsigned __int64 node = GetNode(place);
  Update(argument, archive, console);
  if (GetNode(place) == node) {
    console.Detail(ToPrintable(argument), "changed in place");
  } else {
    console.Detail(ToPrintable(argument),
                   "rewritten, with " + std::to_string(archive.GetReservedHeaderSize()) +
                       " bytes reserved instead of " + std::to_string(reserved));
  }
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
  throw Failure(ExitCode::WrongUsage, "\"\"", "no name of a header");
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
