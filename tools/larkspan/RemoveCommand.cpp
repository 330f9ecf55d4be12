#include "tools/larkspan/RemoveCommand.h"

#include "Larkspan/Archive/TreeFacts.h"
#include "tools/larkspan/ArchiveEditor.h"
#include "tools/larkspan/DryRun.h"
#include "tools/larkspan/NameSelection.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

namespace TreeFacts = Larkspan::Archive::TreeFacts;
using Larkspan::Archive::EntrySelection;

// The path of a folder that a header tells of; empty if it is another header.
Vx::UniString PathOf(const Vx::UniString& header) {
  const bool isFolder = header.GetView().starts_with(TreeFacts::FolderPrefix);
  return isFolder ? header.GetSubstring(TreeFacts::FolderPrefix.size()) : Vx::UniString();
}

class Removal final {
 public:
  Removal(const RemoveOptions& given, ArchiveEditor& archive, Console& messages)
      : options(given), editor(archive), console(messages), selection(given), output(given.null) {}

  void Run() {
    editor.CheckEnd();
    const EntrySelection& entries = editor.GetChange().GetEntries();
    for (std::size_t number = 0; selection.HasPatterns() && number < entries.GetCount(); ++number) {
      selection.Note(entries.GetName(number));
    }
    RemoveFolders();
    RemoveEntries();
    selection.ReportMissing(editor.GetSubject(), console);
    output.Flush();
    if (changed && !options.dryRun) editor.Commit(options.jobs);
  }

 private:
  void RemoveEntries() {
    EntrySelection& entries = editor.GetChange().GetEntries();
    for (std::size_t number = 0; number < entries.GetCount(); ++number) {
      const Vx::UniString name = entries.GetName(number);
      if (!selection.TakeTree(name)) continue;
      Tell(name, false);
      const auto entry = entries.GetEntry(number);
      entries.Drop(number);
      for (const auto& [header, value] : entry->EnumerateHeaders()) {
        const Vx::UniString path = PathOf(header);
        if (!path.IsEmpty() && selection.TakeTree(path, true)) entries.DropFolder(path);
      }
    }
  }

  void RemoveFolders() {
    const auto headers = editor.GetChange().GetHeaders();
    for (const auto& [header, value] : headers.EnumeratePairs()) {
      const Vx::UniString path = PathOf(header);
      if (path.IsEmpty() || !selection.TakeTree(path, true)) continue;
      Tell(path, true);
      editor.GetChange().ClearHeader(header);
    }
  }

  void Tell(const Vx::UniString& name, bool isFolder) {
    changed = true;
    if (options.dryRun) {
      PrintStep("remove", name, isFolder, console, output);
    } else {
      console.ShowItem(name.GetView());
    }
  }

  const RemoveOptions& options;
  ArchiveEditor& editor;
  Console& console;
  NameSelection selection;
  StandardOutput output;
  bool changed = false;
};

}  // namespace

void RunRemove(const RemoveOptions& options, Console& console) {
  EditArchive(options.archive, console,
              [&](ArchiveEditor& editor) { Removal(options, editor, console).Run(); });
}

}  // namespace Tool
