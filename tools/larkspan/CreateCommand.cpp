#include "tools/larkspan/CreateCommand.h"

#include <optional>

#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "foundation/IO/FileSystem.h"
#include "tools/larkspan/EntryFacts.h"
#include "tools/larkspan/FileTree.h"
#include "tools/larkspan/HeaderArguments.h"
#include "tools/larkspan/Interruption.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/PathArgument.h"
#include "tools/larkspan/TemporaryFile.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

namespace Archive = Larkspan::Common::IO;
using Archive::ArchiveHeaders;

constexpr unsigned int ChunkSize = 0x40000;
constexpr unsigned int DefaultFileMode = 0644;

// The archive as it stands before the work.
struct Target {
  ::IO::Location location;
  std::optional<::IO::Attributes> present;
};

Target FindTarget(const CreateOptions& options) {
  const std::string subject = ToPrintable(options.archive);
  Target target{LocationFromArgument(options.archive), std::nullopt};
  ::IO::Attributes attributes;
  int status = ::IO::fileSystem.GetAttributes(target.location, &attributes, false);
  if (status == ::IO::StatusNotFound) return target;
  if (status == 0 && attributes.type == ::IO::EntryType::SymbolicLink) {
    status = ::IO::fileSystem.GetAttributes(target.location, &attributes, true);
    if (status == ::IO::StatusNotFound) status = 0;
  }
  if (status != 0) throw SystemFailure(subject, "can't be made", status);
  if (attributes.type == ::IO::EntryType::Folder || attributes.type == ::IO::EntryType::Other) {
    throw Failure(ExitCode::SystemFailure, subject, "is not a file");
  }
  if (!options.force) {
    throw Failure(ExitCode::SystemFailure, subject, "exists already; --force replaces it");
  }
  if (attributes.type == ::IO::EntryType::File) target.present = attributes;
  return target;
}

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
        buffer(Vx::NewByteArray(ChunkSize)) {
    archive.SetMethod(options.method == "stored" ? Archive::ArchiveEntry::Stored
                                                 : Archive::ArchiveEntry::Deflated);
    for (const auto& [name, value] : headers.EnumeratePairs()) archive.PutHeader(name, value);
    archive.PromiseSeal();
  }

  void Run() {
    for (const FileTree::Item& item : tree.GetItems()) {
      if (!item.IsFolder()) AddItem(item);
    }
    archive.WriteSeal();
    archive.Flush();
  }

 private:
  void AddItem(const FileTree::Item& item) {
    if (item.isStandardInput) {
      AddStandardInput(item);
      return;
    }
    const ::IO::Location location = tree.GetLocation(item);
    ::IO::File file(location, ::IO::OnNotFound::Ignore);
    const int status = file.Open(::IO::OpenMode::Read, ::IO::AccessDeniedTreatment::Report);
    if (status != 0) {
      console.Warn(ToPrintable(location), "left out: " + DescribeStatus(status));
      return;
    }
    AddFile(file, item, [&location] { return ToPrintable(location); });
  }

  // A pipe has no time of its own, and gets none, so that equal input gives equal bytes.
  void AddStandardInput(const FileTree::Item& item) {
    EndWhereBlocked();
    ::IO::File file(::IO::StandardStream::Input);
    FileTree::Item input(item);
    const bool known = file.GetAttributes(&input.attributes) == 0;
    if (!known) input.attributes.type = ::IO::EntryType::Other;
    input.attributes.mode = DefaultFileMode;
    entryHeaders.Clear();
    AddFile(file, input, [] { return std::string("standard input"); });
    entryHeaders.Clear();
  }

  template <class Subject>
  void AddFile(::IO::File& file, const FileTree::Item& item, Subject&& subject) {
    const Vx::UniString name = tree.GetEntryName(item);
    CheckTextLength(name);
    if (item.attributes.type == ::IO::EntryType::File) {
      entryHeaders.Put(timeHeader, EntryFacts::TimeToText(item.attributes));
    }
    entryHeaders.Put(modeHeader, EntryFacts::ModeToText(item.attributes.mode));
    archive.PutNextEntry(name, entryHeaders);
    for (int status = 0; status == 0;) {
      CheckInterruption();
      unsigned int count = 0;
      status = file.ReadBin(buffer.get(), ChunkSize, &count);
      if (status != 0 && status != ::IO::StatusEndOfInput) {
        throw SystemFailure(subject(), "can't be read to its end", status);
      }
      if (count > 0) archive.Write(buffer.get(), count);
      console.GetProgress().Advance(count);
    }
    archive.CloseEntry();
    console.GetProgress().AdvanceItem();
  }

  const FileTree& tree;
  Console& console;
  Archive::ArchiveOBinaryChannel archive;
  const Vx::ByteArray buffer;
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
  Creation(options, tree, console, output.GetChannel(), headers).Run();
  output.Flush();
}

void CreateFile(const CreateOptions& options, Console& console) {
  const Target target = FindTarget(options);
  FileTree tree(console);
  if (target.present) tree.Exclude(*target.present);
  Collect(options, tree);
  const ArchiveHeaders headers = MakeHeaders(options, tree);
  ::IO::Location folder;
  ::IO::Name name;
  if (target.location.Split(folder, name) != 0) {
    throw Failure(ExitCode::WrongUsage, ToPrintable(options.archive), "not a file name");
  }
  const std::string subject = ToPrintable(options.archive);
  TemporaryFile file(folder, subject);
  // The new archive is as private as the old one. Where the system keeps no modes, there is none.
  if (target.present) static_cast<void>(file.GetFile().SetAttributes(*target.present));
  OutputChannel sink(file.GetFile(), subject);
  Vx::BufferedOBinaryChannel output(sink, OutputChannel::BufferSize);
  Creation(options, tree, console, output, headers).Run();
  output.Flush();
  CheckInterruption();
  file.CompleteDurably(
      name, options.force ? TemporaryFile::Naming::Replacing : TemporaryFile::Naming::IfFree);
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
