#include "tools/larkspan/CreateCommand.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "Larkspan/Archive/FileTree.h"
#include "Larkspan/Archive/ParallelWriter.h"
#include "Larkspan/Archive/TreeArchiver.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "foundation/IO/NewFile.h"
#include "tools/larkspan/HeaderArguments.h"
#include "tools/larkspan/InputFile.h"
#include "tools/larkspan/Interruption.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/PathArgument.h"
#include "tools/larkspan/TargetFile.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

namespace TreeFacts = Larkspan::Archive::TreeFacts;
using Larkspan::Archive::FileTree;
using Larkspan::Archive::TreeArchiver;

namespace Archive = Larkspan::Common::IO;
using Archive::ArchiveHeaders;

// Lexically normalised components. Sets `changed` if the path was absolute or contained `..`.
std::vector<std::string_view> SplitPath(std::string_view path, bool& changed) {
  std::vector<std::string_view> names;
  if (path.starts_with('/')) changed = true;
  for (std::size_t start = 0, end = 0; end < path.size(); start = end + 1) {
    end = std::min(path.find('/', start), path.size());
    const std::string_view name = path.substr(start, end - start);
    if (name.empty() || name == ".") continue;
    if (name != "..") {
      names.push_back(name);
      continue;
    }
    changed = true;
    if (!names.empty()) names.pop_back();
  }
  return names;
}

// Prints what the walk and the writing tell.
class TreeMessages final : public FileTree::Watcher, public TreeArchiver::Watcher {
 public:
  explicit TreeMessages(Console& messages) noexcept : console(messages) {}

  void OnStep() override { CheckInterruption(); }
  void OnLeftOut(const ::IO::Location& location, FileTree::Reason reason, int status) override {
    switch (reason) {
      case FileTree::Reason::Unreadable:
        OnLeftOut(location, status);
        break;
      case FileTree::Reason::NeitherKind:
        console.Warn(ToPrintable(location), "left out: neither file nor folder");
        break;
      case FileTree::Reason::LeadsNowhere:
        console.Warn(ToPrintable(location), "left out: a link that leads nowhere");
        break;
      case FileTree::Reason::LeadsToFolder:
        console.Warn(ToPrintable(location), "left out: a link to a folder; name the folder itself");
        break;
      case FileTree::Reason::Unfinished:
        console.Note(ToPrintable(location), "left out: an unfinished file of this program");
        break;
      case FileTree::Reason::Excluded:
        console.Note(ToPrintable(location), "left out: it is the archive itself");
        break;
    }
  }
  void OnLeftOut(const ::IO::Location& location, int status) override {
    console.Warn(ToPrintable(location), "left out: " + DescribeStatus(status));
  }
  void OnChanged(const ::IO::Location& location) override { TellChange(ToPrintable(location)); }
  void OnReadFailure(const ::IO::Location& location, int status) override {
    throw SystemFailure(ToPrintable(location), "can't be read to its end", status);
  }
  void OnRead(unsigned int bytes) override {
    CheckInterruption();
    console.GetProgress().Advance(bytes);
  }
  void OnItemBegin(const Vx::UniString& name, Vx::UInt64 size) override {
    console.GetProgress().BeginItem(name.GetView(), size, size);
  }
  void OnItem(const Vx::UniString& name) override { console.ShowItem(name.GetView()); }

  void TellChange(const std::string& subject) {
    console.Warn(subject, "changed while it was read: its entry may be a mixture");
  }

 private:
  Console& console;
};

int GetStatus(const VxException& exception) noexcept {
  const Vx::FailureDetail* const detail = exception.GetDetail();
  return detail != nullptr ? detail->status : ::IO::StatusFailed;
}

// The files that a command line names, on their way into an archive.
class Sources final {
 public:
  Sources(const CreateOptions& createOptions, Console& messages)
      : options(createOptions),
        console(messages),
        watcher(messages),
        tree(MakeOptions(), watcher) {}

  [[nodiscard]] FileTree& GetTree() noexcept { return tree; }

  void Collect() {
    for (const std::string& path : options.paths) {
      if (path == "-") {
        AddStandardInput();
      } else {
        Add(path);
      }
    }
    try {
      tree.CheckNames();
    } catch (const FileTree::NameConflict& conflict) {
      throw Failure(ExitCode::WrongUsage, ToPrintable(conflict.GetEntryName().GetView()),
                    "two different files would have this name; make two archives of them");
    }
    CheckNameLengths();
  }

  // Writes the archive and all that goes into it.
  void Write(Vx::OBinaryChannel& output) {
    TreeArchiver archiver(tree,
                          {options.method == "stored" ? Archive::ArchiveEntry::Stored
                                                      : Archive::ArchiveEntry::Deflated,
                           options.copyHardLinks, options.keepOwners},
                          watcher);
    ArchiveHeaders headers;
    for (const std::string& header : options.headers) PutHeaderArgument(header, headers);
    archiver.PutHeaders(headers);
    Archive::ArchiveOBinaryChannel archive(
        output, Archive::FitReservedHeaderSize(headers, options.reserve, true));
    for (const auto& [name, value] : headers.EnumeratePairs()) archive.PutHeader(name, value);
    archive.PromiseSeal();
    Larkspan::Archive::ParallelWriter writer(archive, options.jobs);
    console.GetProgress().BeginAll(GetTotalSize());
    archiver.Write(writer);
    if (input && input->HasChanged()) watcher.TellChange(input->GetSubject());
    writer.Finish();
    archive.WriteSeal();
    archive.Flush();
  }

 private:
  // Nothing if some of it is not known.
  [[nodiscard]] unsigned __int64 GetTotalSize() const {
    if (input) return 0;
    unsigned __int64 size = 0;
    for (const FileTree::Item& item : tree.GetItems()) {
      if (item.attributes.type == ::IO::EntryType::File) size += item.attributes.size;
    }
    return size;
  }

  [[nodiscard]] FileTree::Options MakeOptions() const {
    return {options.followLinks, options.oneFileSystem, options.leaveOutCaches, nullptr};
  }

  void Add(const std::string& path) {
    const bool relative = !path.empty() && path.front() != '/' && !options.folder.empty();
    const ::IO::Location location =
        LocationFromArgument(relative ? options.folder + "/" + path : path);
    try {
      tree.Add(location, NameFromPath(path));
    } catch (const Vx::IOException& exception) {
      throw SystemFailure(ToPrintable(location), "can't be read", GetStatus(exception));
    }
  }

  void AddStandardInput() {
    if (input) {
      throw Failure(ExitCode::WrongUsage, "-", "the standard input can be stored only once");
    }
    const Vx::UniString name = NameFromPath(options.inputName);
    const std::size_t last = name.GetView().rfind(u'/') + 1;  // 0 where there is no slash
    const ::IO::Name lastName(Vx::UniString(name.GetView().substr(last)));
    if (name.IsEmpty() || ::IO::NewFile::IsTemporary(lastName)) {
      throw Failure(ExitCode::WrongUsage, "--stdin-name", "no name for an entry");
    }
    input.emplace(console.GetProgress());
    tree.AddChannel(name, input->GetAttributes(), *input);
  }

  // Empty for a path that leads to the folder that it counts from, or to one above.
  Vx::UniString NameFromPath(const std::string& path) {
    bool changed = false;
    std::string joined;
    for (const std::string_view name : SplitPath(path, changed)) (joined += '/') += name;
    if (changed && !std::exchange(namesChanged, true)) {
      console.Note(ToPrintable(path), "entry names are relative: the root and \"..\" are dropped");
    }
    if (joined.empty()) return Vx::UniString();
    Vx::UniString name(LocationFromArgument(joined).GetPath().substr(1));
    name.ReplaceAll(u'\\', u'/');
    return name;
  }

  void CheckNameLengths() const {
    constexpr unsigned int certainlyShort = 20000;  // units, of three bytes at the most
    for (const FileTree::Item& item : tree.GetItems()) {
      Vx::UniString name = tree.GetEntryName(item);
      if (name.GetLength() < certainlyShort) continue;
      if (item.IsFolder()) name = Vx::UniString(TreeFacts::FolderPrefix) + name;
      CheckTextLength(name);
    }
  }

  const CreateOptions& options;
  Console& console;
  TreeMessages watcher;
  FileTree tree;
  std::optional<InputFile> input;
  bool namesChanged = false;
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

// The standard output may be a file in the tree that is read.
void CreateStream(const CreateOptions& options, Console& console) {
  Sources sources(options, console);
  const ::IO::File file(::IO::StandardStream::Output);
  ::IO::Attributes attributes;
  if (file.GetAttributes(&attributes) == 0 && attributes.type == ::IO::EntryType::File) {
    sources.GetTree().Exclude(attributes);
  }
  sources.Collect();
  StandardOutput output;
  try {
    sources.Write(output.GetChannel());
    output.Flush();
  } catch (const PipeClosed&) {
    // Nobody has the archive.
    throw SystemFailure("standard output", "can't be written", ::IO::StatusPipeClosed);
  }
}

void CreateFile(const CreateOptions& options, Console& console) {
  TargetFile target(options.archive, options.force);
  Sources sources(options, console);
  if (target.GetPresent()) sources.GetTree().Exclude(*target.GetPresent());
  sources.Collect();
  OutputChannel sink(target.Make(console), target.GetSubject());
  Vx::BufferedOBinaryChannel output(sink, OutputChannel::BufferSize);
  sources.Write(output);
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
