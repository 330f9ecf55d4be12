#include "tools/larkspan/CreateCommand.h"

#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "tools/larkspan/HeaderArguments.h"
#include "tools/larkspan/Interruption.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/TargetFile.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

namespace Archive = Larkspan::Common::IO;

// Writes the archive and all that goes into it.
void Write(const CreateOptions& options, TreeSources& sources, Vx::OBinaryChannel& output) {
  Archive::ArchiveHeaders headers;
  for (const std::string& header : options.headers) PutHeaderArgument(header, headers);
  sources.PutHeaders(headers);
  Archive::ArchiveOBinaryChannel archive(
      output, Archive::FitReservedHeaderSize(headers, options.reserve, true));
  for (const auto& [name, value] : headers.EnumeratePairs()) archive.PutHeader(name, value);
  archive.PromiseSeal();
  sources.Write(archive);
  archive.WriteSeal();
  archive.Flush();
}

void CheckOptions(const CreateOptions& options) {
  if (!Archive::IsReservedHeaderSize(options.reserve)) {
    throw Failure(
        ExitCode::WrongUsage, "--reserve",
        "must be 0, or " + std::to_string(Archive::MinReservedHeaderSize) + " or more bytes");
  }
  if (options.archive.ends_with('/')) {
    throw Failure(ExitCode::WrongUsage, ToPrintable(options.archive), "the name of a folder");
  }
  if (options.archive == "-" && !options.dryRun && ::IO::IsTerminal(::IO::StandardStream::Output)) {
    throw Failure(ExitCode::WrongUsage, "standard output",
                  "no archive goes to a terminal; redirect it, or name a file");
  }
}

// The standard output may be a file in the tree that is read.
void CreateStream(const CreateOptions& options, Console& console) {
  TreeSources sources(options, console);
  const ::IO::File file(::IO::StandardStream::Output);
  ::IO::Attributes attributes;
  if (file.GetAttributes(&attributes) == 0 && attributes.type == ::IO::EntryType::File) {
    sources.GetTree().Exclude(attributes);
  }
  sources.Collect();
  if (options.dryRun) return sources.Show();
  StandardOutput output;
  try {
    Write(options, sources, output.GetChannel());
    output.Flush();
  } catch (const PipeClosed&) {
    // Nobody has the archive.
    throw SystemFailure("standard output", "can't be written", ::IO::StatusPipeClosed);
  }
}

void CreateFile(const CreateOptions& options, Console& console) {
  TargetFile target(options.archive, options.force);
  TreeSources sources(options, console);
  if (target.GetPresent()) sources.GetTree().Exclude(*target.GetPresent());
  sources.Collect();
  if (options.dryRun) return sources.Show();
  OutputChannel sink(target.Make(console), target.GetSubject());
  Vx::BufferedOBinaryChannel output(sink, OutputChannel::BufferSize);
  Write(options, sources, output);
  output.Flush();
  CheckInterruption();
  target.Complete();
}

}  // namespace

void RunCreate(const CreateOptions& options, Console& console) {
  CheckOptions(options);
  if (options.archive == "-") {
    CreateStream(options, console);
  } else {
    CreateFile(options, console);
  }
}

}  // namespace Tool
