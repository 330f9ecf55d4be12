#include "tools/larkspan/CreateCommand.h"

#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "tools/larkspan/EntryFacts.h"
#include "tools/larkspan/FileTreeWriter.h"
#include "tools/larkspan/HeaderArguments.h"
#include "tools/larkspan/Interruption.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/TargetFile.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

namespace Archive = Larkspan::Common::IO;
using Archive::ArchiveHeaders;

// The standard output may be a file in the tree that is read.
void ExcludeOutput(FileTree& tree) {
  const ::IO::File output(::IO::StandardStream::Output);
  ::IO::Attributes attributes;
  if (output.GetAttributes(&attributes) == 0 && attributes.type == ::IO::EntryType::File) {
    tree.Exclude(attributes);
  }
}

ArchiveHeaders MakeHeaders(const CreateOptions& options, const FileTree& tree) {
  ArchiveHeaders headers;
  for (const std::string& header : options.headers) PutHeaderArgument(header, headers);
  for (const FileTree::Item& item : tree.GetItems()) {
    if (!item.IsFolder()) continue;
    const Vx::UniString name = EntryFacts::FolderToHeader(tree.GetEntryName(item));
    CheckTextLength(name);
    headers.Put(name, EntryFacts::ModeToText(item.attributes.mode));
  }
  return headers;
}

// Nothing if some of it is not known.
unsigned __int64 GetTotalSize(const FileTree& tree) {
  unsigned __int64 size = 0;
  for (const FileTree::Item& item : tree.GetItems()) {
    if (item.isStandardInput) return 0;
    if (!item.IsFolder()) size += item.attributes.size;
  }
  return size;
}

// Writes the archive and all that goes into it.
void WriteArchive(const CreateOptions& options, const FileTree& tree, Console& console,
                  Vx::OBinaryChannel& output, const ArchiveHeaders& headers) {
  Archive::ArchiveOBinaryChannel archive(
      output, Archive::FitReservedHeaderSize(headers, options.reserve, true));
  for (const auto& [name, value] : headers.EnumeratePairs()) archive.PutHeader(name, value);
  archive.PromiseSeal();
  FileTreeWriter writer(tree, console, archive, options.method, options.jobs);
  console.GetProgress().BeginAll(GetTotalSize(tree));
  for (const FileTree::Item& item : tree.GetItems()) {
    if (!item.IsFolder()) writer.Add(item);
  }
  writer.Finish();
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
  if (options.archive == "-" && ::IO::IsTerminal(::IO::StandardStream::Output)) {
    throw Failure(ExitCode::WrongUsage, "standard output",
                  "no archive goes to a terminal; redirect it, or name a file");
  }
}

void CreateStream(const CreateOptions& options, Console& console) {
  FileTree tree(console);
  ExcludeOutput(tree);
  tree.AddAll(options.paths, options.folder, options.inputName);
  const ArchiveHeaders headers = MakeHeaders(options, tree);
  StandardOutput output;
  try {
    WriteArchive(options, tree, console, output.GetChannel(), headers);
    output.Flush();
  } catch (const PipeClosed&) {
    // Nobody has the archive.
    throw SystemFailure("standard output", "can't be written", ::IO::StatusPipeClosed);
  }
}

void CreateFile(const CreateOptions& options, Console& console) {
  TargetFile target(options.archive, options.force);
  FileTree tree(console);
  if (target.GetPresent()) tree.Exclude(*target.GetPresent());
  tree.AddAll(options.paths, options.folder, options.inputName);
  const ArchiveHeaders headers = MakeHeaders(options, tree);
  OutputChannel sink(target.Make(console), target.GetSubject());
  Vx::BufferedOBinaryChannel output(sink, OutputChannel::BufferSize);
  WriteArchive(options, tree, console, output, headers);
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
