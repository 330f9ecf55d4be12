#include "tools/larkspan/TreeSources.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "Larkspan/Archive/ParallelWriter.h"
#include "Larkspan/Archive/TreeFacts.h"
#include "foundation/IO/NewFile.h"
#include "tools/larkspan/DryRun.h"
#include "tools/larkspan/HeaderArguments.h"
#include "tools/larkspan/Interruption.h"
#include "tools/larkspan/NameFile.h"
#include "tools/larkspan/PathArgument.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

namespace TreeFacts = Larkspan::Archive::TreeFacts;
using Larkspan::Archive::FileTree;
using Larkspan::Archive::ParallelWriter;
using Larkspan::Archive::TreeArchiver;
using Larkspan::Common::IO::ArchiveEntry;

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

int GetStatus(const VxException& exception) noexcept {
  const Vx::FailureDetail* const detail = exception.GetDetail();
  return detail != nullptr ? detail->status : ::IO::StatusFailed;
}

std::unordered_set<Vx::UniString> ReadSuffixes(const std::string& list) {
  std::unordered_set<Vx::UniString> suffixes;
  if (list == "none") return suffixes;
  for (std::size_t start = 0, end = 0; start <= list.size(); start = end + 1) {
    end = std::min(list.find(',', start), list.size());
    std::string suffix = list.substr(start, end - start);
    while (suffix.starts_with(' ')) suffix.erase(0, 1);
    if (suffix.starts_with('.')) suffix.erase(0, 1);
    if (suffix.find_first_of("./") != suffix.npos || suffix.empty()) {
      throw Failure(ExitCode::WrongUsage, "--stored-suffixes",
                    "takes ends of names behind the last dot, with commas between, or none");
    }
    for (char& letter : suffix) {
      if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    }
    suffixes.insert(TextFromArgument(suffix));
  }
  return suffixes;
}

TreeArchiver::Options MakeArchiverOptions(const TreeOptions& options) {
  const bool stored = options.method == "stored";
  return {stored ? ArchiveEntry::Stored : ArchiveEntry::Deflated, options.copyHardLinks,
          options.keepOwners, ReadSuffixes(options.storedSuffixes)};
}

ParallelWriter::Level GetLevel(const std::string& word) {
  if (word == "fast") return ParallelWriter::Level::Fast;
  return word == "best" ? ParallelWriter::Level::Best : ParallelWriter::Level::Default;
}

}  // namespace

std::string ListStoredSuffixes() {
  std::string list;
  for (const auto suffix : TreeArchiver::DefaultStoredSuffixes) {
    list += (list.empty() ? "" : ", ") + Vx::UniString(suffix).ToUTF8();
  }
  return list;
}

void TreeMessages::OnStep() {
  CheckInterruption();
}

void TreeMessages::OnLeftOut(const ::IO::Location& location, FileTree::Reason reason, int status) {
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

void TreeMessages::OnLeftOut(const ::IO::Location& location, int status) {
  console.Warn(ToPrintable(location), "left out: " + DescribeStatus(status));
}

void TreeMessages::OnChanged(const ::IO::Location& location) {
  TellChange(ToPrintable(location));
}

void TreeMessages::OnReadFailure(const ::IO::Location& location, int status) {
  throw SystemFailure(ToPrintable(location), "can't be read to its end", status);
}

void TreeMessages::OnFactsLost(const Vx::UniString& folder) {
  console.Warn(ToPrintable(folder.GetView()),
               "mode and time are left out: the path is too long for a header");
}

void TreeMessages::OnRead(unsigned int bytes) {
  CheckInterruption();
  console.GetProgress().Advance(bytes);
}

void TreeMessages::OnItemBegin(const Vx::UniString& name, Vx::UInt64 size) {
  console.GetProgress().BeginItem(name.GetView(), size, size);
}

void TreeMessages::OnItem(const Vx::UniString& name) {
  console.ShowItem(name.GetView());
}

void TreeMessages::TellChange(const std::string& subject) {
  console.Warn(subject, "changed while it was read: its entry may be a mixture");
}

TreeSources::TreeSources(const TreeOptions& treeOptions, Console& messages)
    : options(treeOptions),
      console(messages),
      watcher(messages),
      excluded(MakePatterns(options)),
      tree(MakeTreeOptions(), watcher),
      archiver(tree, MakeArchiverOptions(options), watcher) {}

FileTree::Options TreeSources::MakeTreeOptions() const {
  FileTree::Options treeOptions{options.followLinks, options.oneFileSystem, options.leaveOutCaches,
                                nullptr};
  if (excluded.IsEmpty()) return treeOptions;
  treeOptions.filter = [this](const Vx::UniString& name, const ::IO::Attributes& attributes) {
    return !excluded.Excludes(name, attributes.type == ::IO::EntryType::Folder);
  };
  return treeOptions;
}

void TreeSources::Collect() {
  std::vector<std::string> paths = options.paths;
  AppendNames(options.pathFiles, options.null, paths);
  for (const std::string& path : paths) {
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

void TreeSources::Show() const {
  StandardOutput output(options.null);
  for (const FileTree::Item& item : tree.GetItems()) {
    PrintStep("add", tree.GetEntryName(item), item.IsFolder(), console, output);
  }
  output.Flush();
}

void TreeSources::Write(Larkspan::Common::IO::ArchiveOBinaryChannel& archive) {
  ParallelWriter writer(archive, options.jobs, GetLevel(options.level));
  console.GetProgress().BeginAll(GetTotalSize());
  archiver.Write(writer);
  if (input && input->HasChanged()) watcher.TellChange(input->GetSubject());
  writer.Finish();
}

// Nothing if some of it is not known.
unsigned __int64 TreeSources::GetTotalSize() const {
  if (input) return 0;
  unsigned __int64 size = 0;
  for (const FileTree::Item& item : tree.GetItems()) {
    if (item.attributes.type == ::IO::EntryType::File) size += item.attributes.size;
  }
  return size;
}

void TreeSources::Add(const std::string& path) {
  const bool relative = !path.empty() && path.front() != '/' && !options.folder.empty();
  const ::IO::Location location =
      LocationFromArgument(relative ? options.folder + "/" + path : path);
  try {
    tree.Add(location, NameFromPath(path));
  } catch (const Vx::IOException& exception) {
    throw SystemFailure(ToPrintable(location), "can't be read", GetStatus(exception));
  }
}

void TreeSources::AddStandardInput() {
  if (input) {
    throw Failure(ExitCode::WrongUsage, "-", "the standard input can be stored only once");
  }
  ClaimStandardInput();
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
Vx::UniString TreeSources::NameFromPath(const std::string& path) {
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

void TreeSources::CheckNameLengths() const {
  constexpr unsigned int certainlyShort = 20000;  // units, of three bytes at the most
  for (const FileTree::Item& item : tree.GetItems()) {
    Vx::UniString name = tree.GetEntryName(item);
    if (name.GetLength() < certainlyShort) continue;
    if (item.IsFolder()) name = Vx::UniString(TreeFacts::FolderPrefix) + name;
    CheckTextLength(name);
  }
}

}  // namespace Tool
