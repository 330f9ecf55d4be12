#include "tools/documents/Completion.h"
#include "tools/documents/Replace.h"

namespace Documents {
namespace {

using Tool::CommandFacts;
using Tool::Completion;
using Tool::Parameter;

// In a quoted argument, and not one of the marks between its parts.
std::string Escape(std::string text) {
  text = Replace(std::move(text), "'", "'\\''");
  text = Replace(std::move(text), "[", "\\[");
  text = Replace(std::move(text), "]", "\\]");
  return Replace(std::move(text), ":", "\\:");
}

std::string MakeAction(const Parameter& parameter) {
  if (!parameter.choices.empty()) {
    std::string words;
    for (const std::string& choice : parameter.choices) words += choice + " ";
    return "(" + words + ")";
  }
  switch (parameter.completion) {
    case Completion::File:
      return "_files";
    case Completion::Folder:
      return "_directories";
    case Completion::Entry:
      return "_larkspan_entries";
    case Completion::None:
      break;
  }
  return " ";
}

// How one name of an option is written on the command line.
std::string MakeName(const Parameter& parameter, const std::string& name) {
  if (parameter.IsFlag()) return name;
  return name + (name.starts_with("--") ? "=" : "+");
}

std::string MakeOption(const Parameter& parameter) {
  std::string names;
  for (const std::string& name : parameter.GetNames()) names += (names.empty() ? "" : " ") + name;
  const std::string exclusive = parameter.repeated ? "*" : "(" + names + ")";
  std::string rest = "[" + Escape(parameter.text) + "]";
  if (!parameter.IsFlag()) rest += ":" + Escape(parameter.value) + ":" + MakeAction(parameter);
  std::string rows;
  for (const std::string& name : parameter.GetNames()) {
    rows.append("    '").append(exclusive).append(MakeName(parameter, name));
    rows.append(rest).append("' \\\n");
  }
  return rows;
}

std::string MakeArguments(const std::vector<Parameter>& parameters) {
  std::string rows;
  for (const Parameter& parameter : parameters) {
    if (parameter.IsOption()) {
      rows += MakeOption(parameter);
    } else {
      const std::string place = parameter.repeated ? "*" : parameter.required ? "" : ":";
      rows +=
          "    '" + place + ":" + Escape(parameter.names) + ":" + MakeAction(parameter) + "' \\\n";
    }
  }
  return rows;
}

std::string FunctionName(const std::string& path) {
  return "_" + Replace(path, " ", "_");
}

// One function for each command, and for each group of them.
std::string MakeFunction(const CommandFacts& program, const CommandFacts& command,
                         const std::string& path) {
  std::string text = FunctionName(path) + "() {\n";
  const std::string global = MakeArguments(program.parameters);
  if (command.commands.empty()) {
    const std::string own = MakeArguments(command.parameters);
    return text + "  _arguments -s -S \\\n" + global + own + "    && return 0\n}\n\n";
  }
  text +=
      "  local curcontext=$curcontext state line\n  typeset -A opt_args\n  local -a commands=(\n";
  std::string cases;
  std::string functions;
  for (const CommandFacts& child : command.commands) {
    text += "    '" + child.name + ":" + Escape(child.summary) + "'\n";
    const std::string childPath = path + " " + child.name;
    cases += "        " + child.name + ") " + FunctionName(childPath) + " ;;\n";
    functions += MakeFunction(program, child, childPath);
  }
  text += "  )\n  _arguments -C -s \\\n" + global +
          "    '1:command:->command' '*::argument:->argument' && return 0\n"
          "  case $state in\n    command) _describe command commands ;;\n    argument)\n"
          "      case $words[1] in\n" +
          cases + "      esac ;;\n  esac\n}\n\n";
  return functions + text;
}

}  // namespace

std::string MakeZshCompletion(const CommandFacts& program) {
  return "#compdef larkspan\n\n"
         "_larkspan_entries() {\n"
         "  local archive=${(Q)line[1]/#\\~/$HOME}\n"
         "  local -a names\n"
         "  [[ -f $archive ]] || return 1\n"
         "  names=(${(f)\"$(larkspan list -- $archive 2>/dev/null </dev/null)\"})\n"
         "  compadd -a names\n"
         "}\n\n" +
         MakeFunction(program, program, "larkspan") + "_larkspan \"$@\"\n";
}

}  // namespace Documents
