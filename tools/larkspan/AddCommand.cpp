#include "tools/larkspan/AddCommand.h"

#include <tuple>

#include "Larkspan/Archive/EntryName.h"
#include "Larkspan/Archive/TreeFacts.h"
#include "tools/larkspan/ArchiveEditor.h"
#include "tools/larkspan/FileTreeWriter.h"
#include "tools/larkspan/HeaderArguments.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

namespace TreeFacts = Larkspan::Archive::TreeFacts;
namespace Archive = Larkspan::Archive;
using Larkspan::Common::IO::ArchiveOBinaryChannel;

// The files of some paths on their way into an archive.
class Addition final {
 public:
  Addition(const AddOptions& given, ArchiveEditor& archive, Console& messages)
      : options(given),
        editor(archive),
        console(messages),
        index(archive.GetChange().GetIndex()),
        tree(messages) {}

  void Run() {
    editor.CheckEnd();
    tree.Exclude(editor.GetAttributes());
    tree.AddAll(options.paths, options.folder, options.inputName);
    for (const FileTree::Item& item : tree.GetItems()) Choose(item);
    DropReplaced();
    if (options.dryRun) {
      Show();
    } else if (!added.empty()) {
      editor.Commit(options.jobs, [this](ArchiveOBinaryChannel& archive) { Write(archive); });
    } else if (foldersChanged) {
      editor.Commit(options.jobs);
    }
  }

 private:
  struct Added {
    const FileTree::Item* item;
    bool replaces;
  };

  void Choose(const FileTree::Item& item) {
    const Vx::UniString name = tree.GetEntryName(item);
    if (item.IsFolder()) return PutFolder(item, name);
    CheckTextLength(name);
    Larkspan::Archive::ForEachFolderAbove(name, [&](const Vx::UniString& folder) {
      if (index.Find(folder)) FailOnClash(folder);
    });
    const auto present = index.Find(name);
    if (present && !IsReplaced(*present, item.attributes)) return;
    added.push_back({&item, present.has_value()});
    names.Put(name, present.has_value());
  }

  [[nodiscard]] bool IsReplaced(std::size_t number, const ::IO::Attributes& found) const {
    if (options.replace != "newer") return options.replace == "always";
    ::IO::Attributes stored;
    // What has no time may be as old as can be.
    if (!TreeFacts::TimeFromText(
            index.GetEntry(number)->GetHeader(Larkspan::Archive::TreeFacts::TimeHeader), stored)) {
      return true;
    }
    return std::tie(found.modifiedSeconds, found.modifiedNanoseconds) >
           std::tie(stored.modifiedSeconds, stored.modifiedNanoseconds);
  }

  void PutFolder(const FileTree::Item& item, const Vx::UniString& name) {
    if (index.Find(name)) FailOnClash(name);
    const Vx::UniString header = TreeFacts::FolderToHeader(name);
    const Vx::UniString mode = TreeFacts::ModeToText(item.attributes.mode);
    Vx::UniString present;
    const bool known = editor.GetChange().GetHeaders().FindValue(header, present);
    if (known && (options.replace == "never" || present == mode)) return;
    editor.GetChange().PutHeader(header, mode);
    folders.push_back({&item, known});
    foldersChanged = true;
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
      Larkspan::Archive::ForEachFolderAbove(name, [&](const Vx::UniString& folder) {
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
    StandardOutput output;
    const auto print = [&](const Added& one, const char* end) {
      const std::string name = ToPrintable(tree.GetEntryName(*one.item).GetView());
      output.Print((one.replaces ? "replace " : "add ") + name + end);
    };
    for (const Added& folder : folders) print(folder, "/\n");
    for (const Added& file : added) print(file, "\n");
    output.Flush();
  }

  void Write(ArchiveOBinaryChannel& archive) const {
    FileTreeWriter writer(tree, console, archive, options.method, options.jobs);
    for (const Added& file : added) writer.Add(*file.item);
    writer.Finish();
  }

  const AddOptions& options;
  ArchiveEditor& editor;
  Console& console;
  const Archive::ArchiveIndex& index;
  FileTree tree;
  std::vector<Added> added;
  std::vector<Added> folders;
  Vx::HashTable<Vx::UniString, bool> names;  // of those that are added
  bool foldersChanged = false;
};

}  // namespace

void RunAdd(const AddOptions& options, Console& console) {
  EditArchive(options.archive, console,
              [&](ArchiveEditor& editor) { Addition(options, editor, console).Run(); });
}

}  // namespace Tool
