#include "tools/larkspan/AddCommand.h"

#include <algorithm>
#include <tuple>
#include <vector>

#include "Larkspan/Archive/EntryName.h"
#include "Larkspan/Archive/TreeFacts.h"
#include "tools/larkspan/ArchiveEditor.h"
#include "tools/larkspan/DryRun.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

namespace TreeFacts = Larkspan::Archive::TreeFacts;
namespace Archive = Larkspan::Archive;
using Archive::FileTree;
using Larkspan::Common::IO::ArchiveHeaders;
using Larkspan::Common::IO::ArchiveOBinaryChannel;

// The files of some paths on their way into an archive.
class Addition final {
 public:
  Addition(const AddOptions& given, ArchiveEditor& archive, Console& messages)
      : options(given),
        editor(archive),
        console(messages),
        index(archive.GetChange().GetIndex()),
        sources(given, messages) {}

  void Run() {
    editor.CheckEnd();
    FileTree& tree = sources.GetTree();
    tree.Exclude(editor.GetAttributes());
    sources.Collect();
    tree.KeepIf([this](const FileTree::Item& item) { return IsWanted(item); });
    DropReplaced();
    PutFolders();
    if (options.dryRun) {
      Show();
    } else if (!added.empty()) {
      editor.Commit(options.jobs,
                    [this](ArchiveOBinaryChannel& archive) { sources.Write(archive); });
    } else if (!folders.empty()) {
      editor.Commit(options.jobs);
    }
  }

 private:
  struct Added {
    Vx::UniString name;
    bool replaces;
  };

  bool IsWanted(const FileTree::Item& item) {
    const Vx::UniString name = sources.GetTree().GetEntryName(item);
    if (item.IsFolder()) {
      if (index.Find(name)) FailOnClash(name);
      return true;
    }
    Archive::ForEachFolderAbove(name, [&](const Vx::UniString& folder) {
      if (index.Find(folder)) FailOnClash(folder);
    });
    const auto present = index.Find(name);
    if (present && !IsReplaced(*present, item.attributes)) return false;
    added.push_back({name, present.has_value()});
    names.Put(name, present.has_value());
    return true;
  }

  [[nodiscard]] bool IsReplaced(std::size_t number, const ::IO::Attributes& found) const {
    if (options.replace != "newer") return options.replace == "always";
    ::IO::Attributes stored;
    const Vx::UniString time = index.GetEntry(number)->GetHeader(TreeFacts::TimeHeader);
    // What has no time may be as old as can be.
    if (!TreeFacts::TimeFromText(time, stored)) return true;
    return std::tie(found.modifiedSeconds, found.modifiedNanoseconds) >
           std::tie(stored.modifiedSeconds, stored.modifiedNanoseconds);
  }

  // What the archive's headers are to tell of empty folders.
  void PutFolders() {
    ArchiveHeaders found;
    sources.PutHeaders(found);
    for (const auto& [header, facts] : found.EnumeratePairs()) {
      Vx::UniString present;
      const bool known = editor.GetChange().GetHeaders().FindValue(header, present);
      if (known && (options.replace == "never" || present == facts)) continue;
      editor.GetChange().PutHeader(header, facts);
      folders.push_back({header.GetSubstring(TreeFacts::FolderPrefix.size()), known});
    }
    std::ranges::sort(folders, {}, &Added::name);
  }

  // All of the name, of which those in front of the last don't count.
  void DropReplaced() {
    Archive::EntrySelection& entries = editor.GetChange().GetEntries();
    for (std::size_t number = 0; number < entries.GetCount(); ++number) {
      const Vx::UniString name = index.GetName(number);
      if (names.Find(name) != nullptr) {
        entries.Drop(number);
        continue;
      }
      Archive::ForEachFolderAbove(name, [&](const Vx::UniString& folder) {
        if (names.Find(folder) != nullptr) FailOnClash(folder);
      });
    }
  }

  [[noreturn]] void FailOnClash(const Vx::UniString& name) const {
    throw Failure(ExitCode::WrongUsage, ToPrintable(name.GetView()),
                  "would be a file and a folder in " + editor.GetSubject() +
                      "; remove one of them first; nothing was changed");
  }

  void Show() const {
    StandardOutput output(options.null);
    const auto print = [&](const Added& one, bool isFolder) {
      PrintStep(one.replaces ? "replace" : "add", one.name, isFolder, console, output);
    };
    for (const Added& folder : folders) print(folder, true);
    for (const Added& file : added) print(file, false);
    output.Flush();
  }

  const AddOptions& options;
  ArchiveEditor& editor;
  const Console& console;
  const Archive::ArchiveIndex& index;
  TreeSources sources;
  std::vector<Added> added;
  std::vector<Added> folders;
  Vx::HashTable<Vx::UniString, bool> names;  // of those that are added
};

}  // namespace

void RunAdd(const AddOptions& options, Console& console) {
  EditArchive(options.archive, console,
              [&](ArchiveEditor& editor) { Addition(options, editor, console).Run(); });
}

}  // namespace Tool
