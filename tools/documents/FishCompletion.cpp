#include "tools/documents/Completion.h"
#include "tools/documents/Replace.h"

namespace Documents {
namespace {

using Tool::CommandFacts;
using Tool::Completion;
using Tool::Parameter;

std::string Quote(const std::string& text) {
  return "'" + Replace(Replace(text, "\\", "\\\\"), "'", "\\'") + "'";
}

std::string JoinNames(const std::vector<CommandFacts>& commands) {
  std::string names;
  for (const CommandFacts& command : commands) names += " " + command.name;
  return names;
}

std::string MakeOption(const Parameter& parameter, const std::string& condition) {
  std::string row = "complete -c larkspan" + condition;
  for (const std::string& name : parameter.GetNames()) {
    const bool isLong = name.starts_with("--");
    row += isLong ? " -l " + name.substr(2) : " -s " + name.substr(1);
  }
  if (!parameter.choices.empty()) {
    std::string words;
    for (const std::string& choice : parameter.choices)
      words += (words.empty() ? "" : " ") + choice;
    row += " -x -a " + Quote(words);
  } else if (parameter.completion == Completion::Folder) {
    row += " -x -a '(__fish_complete_directories)'";
  } else if (!parameter.IsFlag()) {
    row += parameter.completion == Completion::File ? " -r -F" : " -x";
  }
  return row + " -d " + Quote(parameter.text) + "\n";
}

std::string MakeCondition(const std::string& condition) {
  return condition.empty() ? condition : " -n " + Quote(condition);
}

std::string MakeParameters(const CommandFacts& command, const std::string& condition) {
  std::string rows;
  bool files = false;
  bool entries = false;
  for (const Parameter& parameter : command.parameters) {
    if (parameter.IsOption()) {
      rows += MakeOption(parameter, MakeCondition(condition));
    } else {
      files = files || parameter.completion == Completion::File;
      entries = entries || parameter.completion == Completion::Entry;
    }
  }
  const std::string row = "complete -c larkspan";
  const std::string beforeArchive = entries ? "; and not __larkspan_archive >/dev/null" : "";
  if (files) rows += row + MakeCondition(condition + beforeArchive) + " -F\n";
  if (entries) rows += row + MakeCondition(condition) + " -a '(__larkspan_entries)'\n";
  return rows;
}

// `condition` holds where one of the commands is to be typed.
std::string MakeCommands(const CommandFacts& group, const std::string& condition,
                         const std::string& within) {
  std::string rows;
  for (const CommandFacts& command : group.commands) {
    rows += "complete -c larkspan -n " + Quote(condition) + " -a " + command.name + " -d " +
            Quote(command.summary) + "\n";
    const std::string inside = within + "__fish_seen_subcommand_from " + command.name;
    rows += MakeParameters(command, inside);
    if (command.commands.empty()) continue;
    rows += MakeCommands(
        command, inside + "; and not __fish_seen_subcommand_from" + JoinNames(command.commands),
        inside + "; and ");
  }
  return rows;
}

}  // namespace

std::string MakeFishCompletion(const CommandFacts& program) {
  std::string text = R"(# Completes the command line of larkspan in fish.

function __larkspan_archive
    for word in (commandline -opc)[3..]
        if test -f $word
            echo $word
            return
        end
    end
    return 1
end

function __larkspan_entries
    set -l archive (__larkspan_archive); or return
    larkspan list -- $archive 2>/dev/null </dev/null
end

complete -c larkspan -f
)";
  text += MakeParameters(program, "");
  text +=
      MakeCommands(program, "not __fish_seen_subcommand_from" + JoinNames(program.commands), "");
  return text + "complete -c larkspan -n '__fish_seen_subcommand_from help' -a '" +
         JoinNames(program.commands).substr(1) + "'\n";
}

}  // namespace Documents
