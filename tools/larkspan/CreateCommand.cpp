#include "tools/larkspan/CreateCommand.h"

#include "Larkspan/Archive/ParallelWriter.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "tools/larkspan/EntryFacts.h"
#include "tools/larkspan/FileTree.h"
#include "tools/larkspan/HeaderArguments.h"
#include "tools/larkspan/InputFile.h"
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

void Collect(const CreateOptions& options, FileTree& tree) {
  for (const std::string& path : options.paths) {
    if (path == "-") {
      tree.AddStandardInput(options.inputName);
    } else {
      tree.Add(options.folder, path);
    }
  }
  tree.CheckNames();
}

ArchiveHeaders MakeHeaders(const CreateOptions& options, const FileTree& tree) {
  ArchiveHeaders headers;
  for (const std::string& header : options.headers) PutHeaderArgument(header, headers);
  for (const FileTree::Item& item : tree.GetItems()) {
    if (!item.IsFolder()) continue;
    Vx::UniString name(EntryFacts::FolderPrefix);
    name.Append(tree.GetEntryName(item).GetView());
    CheckTextLength(name);
    headers.Put(name, EntryFacts::ModeToText(item.attributes.mode));
  }
  return headers;
}

// Writes the archive and all that goes into it.
class Creation final {
 public:
  Creation(const CreateOptions& options, const FileTree& files, Console& messages,
           Vx::OBinaryChannel& output, const ArchiveHeaders& headers)
      : tree(files),
        console(messages),
        archive(output, Archive::FitReservedHeaderSize(headers, options.reserve, true)),
        writer(archive, options.jobs),
        method(options.method == "stored" ? Archive::ArchiveEntry::Stored
                                          : Archive::ArchiveEntry::Deflated) {
    for (const auto& [name, value] : headers.EnumeratePairs()) archive.PutHeader(name, value);
    archive.PromiseSeal();
  }

  void Run() {
    console.GetProgress().BeginAll(GetTotalSize());
    for (const FileTree::Item& item : tree.GetItems()) {
      if (!item.IsFolder()) AddItem(item);
    }
    writer.Finish();
    archive.WriteSeal();
    archive.Flush();
  }

 private:
  // Nothing if some of it is not known.
  [[nodiscard]] unsigned __int64 GetTotalSize() const {
    unsigned __int64 size = 0;
    for (const FileTree::Item& item : tree.GetItems()) {
      if (item.isStandardInput) return 0;
      if (!item.IsFolder()) size += item.attributes.size;
    }
    return size;
  }

  void AddItem(const FileTree::Item& item) {
    if (item.isStandardInput) {
      InputFile input(console.GetProgress());
      Add(item, input);
      return;
    }
    InputFile input(tree.GetLocation(item), item.attributes, console.GetProgress());
    if (input.GetStatus() == 0) {
      Add(item, input);
    } else {
      console.Warn(input.GetSubject(), "left out: " + DescribeStatus(input.GetStatus()));
    }
  }

  // The entry is whole in itself even if the file is not what it was.
  void Add(const FileTree::Item& item, InputFile& input) {
    const Vx::UniString name = tree.GetEntryName(item);
    CheckTextLength(name);
    const unsigned __int64 size = item.attributes.size;
    console.GetProgress().BeginItem(name.GetView(), size, size);
    const bool hasTime = input.GetAttributes().type == ::IO::EntryType::File;
    if (!hasTime) entryHeaders.Clear();
    if (hasTime) entryHeaders.Put(timeHeader, EntryFacts::TimeToText(input.GetAttributes()));
    entryHeaders.Put(modeHeader, EntryFacts::ModeToText(input.GetAttributes().mode));
    writer.Add(name, entryHeaders, method, input);
    if (!hasTime) entryHeaders.Clear();  // where there is a time, it comes first
    if (input.HasChanged()) {
      console.Warn(input.GetSubject(), "changed while it was read: its entry may be a mixture");
    }
    console.ShowItem(name.GetView());
  }

  const FileTree& tree;
  Console& console;
  Archive::ArchiveOBinaryChannel archive;
  Larkspan::Archive::ParallelWriter writer;
  const Archive::ArchiveEntry::Method method;
  const Vx::UniString timeHeader{EntryFacts::TimeHeader};
  const Vx::UniString modeHeader{EntryFacts::ModeHeader};
  ArchiveHeaders entryHeaders;  // of the entry at work, kept for the next one
};

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
  Collect(options, tree);
  const ArchiveHeaders headers = MakeHeaders(options, tree);
  StandardOutput output;
  try {
    Creation(options, tree, console, output.GetChannel(), headers).Run();
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
  Collect(options, tree);
  const ArchiveHeaders headers = MakeHeaders(options, tree);
  OutputChannel sink(target.Make(console), target.GetSubject());
  Vx::BufferedOBinaryChannel output(sink, OutputChannel::BufferSize);
  Creation(options, tree, console, output, headers).Run();
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
