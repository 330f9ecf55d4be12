#include "tools/larkspan/HeadersCommand.h"

#include "Larkspan/Archive/TreeFacts.h"
#include "tools/larkspan/ArchiveEditor.h"
#include "tools/larkspan/ArchiveReader.h"
#include "tools/larkspan/DryRun.h"
#include "tools/larkspan/HeaderArguments.h"
#include "tools/larkspan/JsonOutput.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

namespace TreeFacts = Larkspan::Archive::TreeFacts;
using Archive::ArchiveHeaders;

// Prints in what the headers differ from those before.
void ShowChange(const ArchiveHeaders& before, ArchiveEditor& editor, Console& console) {
  const ArchiveHeaders after = editor.GetChange().GetHeaders();
  StandardOutput output;
  for (const auto& [name, value] : after.EnumeratePairs()) {
    Vx::UniString old;
    const bool isSame = before.FindValue(name, old) && old == value;
    if (!isSame) PrintStep("set", name, false, console, output);
  }
  for (const auto& [name, value] : before.EnumeratePairs()) {
    if (after.Find(name) == nullptr) PrintStep("clear", name, false, console, output);
  }
  output.Flush();
  if (editor.GetChange().NeedsRewrite()) {
    console.Detail(editor.GetSubject(), "would be rewritten");
  }
}

// Reads the headers, lets `change` work on them, and updates the file.
template <class Change>
void ChangeHeaders(const std::string& argument, bool dryRun, Console& console, Change&& change) {
  if (argument == "-") {
    throw Failure(ExitCode::WrongUsage, "-", "headers are changed in a file; name one");
  }
  EditArchive(argument, console, [&](ArchiveEditor& editor) {
    const ArchiveHeaders before = editor.GetChange().GetHeaders();
    if (!change(editor.GetChange())) return;
    if (dryRun) {
      ShowChange(before, editor, console);
    } else {
      editor.Commit();
    }
  });
}

std::string ToJson(const Vx::UniString& name, const Vx::UniString& value) {
  JsonObject object("header");
  return object.PutText("name", name.GetView()).PutText("value", value.GetView()).ToLine();
}

void PrintAll(const ArchiveReader& reader, bool json, StandardOutput& output) {
  for (const auto& [name, value] : reader.GetArchive().EnumerateHeaders()) {
    output.Print(json ? ToJson(name, value)
                      : ToPrintable(name.GetView()) + "=" + ToPrintable(value.GetView()) + "\n");
  }
}

// A program gets the value as it is.
std::string FormatValue(const Vx::UniString& value) {
  const bool terminal = ::IO::IsTerminal(::IO::StandardStream::Output);
  return (terminal ? ToPrintable(value.GetView()) : ToBytes(value.GetView())) + "\n";
}

// Whether the header is the library's own.
bool IsPromise(const ArchiveEditor::Change& archive, const Vx::UniString& name) {
  return name == Archive::ArchiveSeal::HeaderName &&
         archive.GetHeaderCheck() != Archive::ArchiveEnd::HeaderCheck::None;
}

Vx::UniString NameFromArgument(const std::string& argument) {
  if (!argument.empty()) return TextFromArgument(argument);
  throw Failure(ExitCode::WrongUsage, "\"\"", "not a header name");
}

}  // namespace

void RunHeadersGet(const HeadersGetOptions& options, Console& console) {
  const ArchiveReader reader(options.archive, console);
  StandardOutput output;
  if (options.names.empty()) PrintAll(reader, console.IsJson(), output);
  for (const std::string& argument : options.names) {
    const Vx::UniString name = NameFromArgument(argument);
    Vx::UniString value;
    if (reader.GetArchive().GetHeader(name, value)) {
      output.Print(console.IsJson() ? ToJson(name, value) : FormatValue(value));
    } else {
      console.Warn(reader.GetSubject(), "no header named " + ToPrintable(argument));
    }
  }
  output.Flush();
}

void RunHeadersSet(const HeadersSetOptions& options, Console& console) {
  ArchiveHeaders headers;
  for (const std::string& header : options.headers) PutHeaderArgument(header, headers);
  ChangeHeaders(options.archive, options.dryRun, console,
                [&headers](ArchiveEditor::Change& archive) {
                  for (const auto& [name, value] : headers.EnumeratePairs())
                    archive.PutHeader(name, value);
                  return true;
                });
}

void RunHeadersClear(const HeadersClearOptions& options, Console& console) {
  if (options.all != options.names.empty()) {
    throw Failure(ExitCode::WrongUsage, "headers clear", "takes either names or --all");
  }
  ChangeHeaders(options.archive, options.dryRun, console, [&](ArchiveEditor::Change& archive) {
    bool changed = false;
    std::vector<Vx::UniString> names;
    for (const std::string& argument : options.names) names.push_back(NameFromArgument(argument));
    for (const auto& [name, value] : archive.GetHeaders().EnumeratePairs()) {
      const bool folder = name.GetView().starts_with(TreeFacts::FolderPrefix);
      if (options.all && !folder && !IsPromise(archive, name)) names.push_back(name);
    }
    for (const Vx::UniString& name : names) {
      if (IsPromise(archive, name)) {
        throw Failure(ExitCode::WrongUsage, ToPrintable(name.GetView()),
                      "this header is the archive's own, and kept by it");
      }
      if (archive.GetHeaders().Find(name) != nullptr) {
        archive.ClearHeader(name);
        changed = true;
      } else {
        console.Warn(ToPrintable(options.archive),
                     "no header named " + ToPrintable(name.GetView()));
      }
    }
    return changed;
  });
}

}  // namespace Tool
