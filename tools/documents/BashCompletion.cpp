#include <functional>

#include "tools/documents/Completion.h"

namespace Documents {
namespace {

using Tool::CommandFacts;
using Tool::Completion;
using Tool::Parameter;

// The words come from the line as bash cuts it: at blanks, and around each `=`.
constexpr const char* Code = R"(
_larkspan_entries() {
  local archive=${1/#\~/$HOME} names name quoted
  archive=${archive//[\\\"\']/}
  [ -f "$archive" ] || return
  mapfile -t names < <(larkspan list -- "$archive" 2>/dev/null </dev/null)
  for name in "${names[@]}"; do
    printf -v quoted %q "$name"
    if [[ $name == "$2"* || $quoted == "$2"* ]]; then COMPREPLY+=("$quoted"); fi
  done
}

_larkspan() {
  local current=${COMP_WORDS[COMP_CWORD]} command='' options='' words='' takes='' kind='' previous=''
  local index word arguments=() last=() archive=''
  COMPREPLY=()
  for ((index = 1; index < COMP_CWORD; ++index)); do
    word=${COMP_WORDS[index]}
    if [ "$word" = = ]; then continue; fi
    _larkspan_facts "$command"
    if [[ $takes == *" $previous "* ]]; then
      previous=''
    elif [[ $word == -?* ]]; then
      previous=$word
    elif [ -n "$words" ]; then
      command+=${command:+ }$word
      previous=''
    else
      arguments+=("$word")
      previous=''
    fi
  done
  if [ "$current" = = ]; then current=''; fi
  _larkspan_facts "$command"
  archive=${arguments[0]-}
  if [[ -n $previous && $takes == *" $previous "* ]]; then
    _larkspan_value "$command" "$previous"
  elif [[ $current == -* ]]; then
    kind=words words=$options
  elif [ -n "$words" ]; then
    kind=words
  else
    kind=${last[${#arguments[@]}]-${last[*]: -1}}
  fi
  case $kind in
    words) mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current") ;;
    folder) mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
    file) mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    entry) _larkspan_entries "$archive" "$current" ;;
  esac
  if [ "$kind" = folder ] || [ "$kind" = file ]; then compopt -o filenames 2>/dev/null; fi
  return 0
}

complete -F _larkspan larkspan
)";

const char* KindOf(Completion completion) {
  switch (completion) {
    case Completion::File:
      return "file";
    case Completion::Folder:
      return "folder";
    case Completion::Entry:
      return "entry";
    case Completion::None:
      break;
  }
  return "none";
}

// Calls `visit(command, "headers set")` for all commands, groups and the program, named "".
void VisitAll(const CommandFacts& command, const std::string& name,
              const std::function<void(const CommandFacts&, const std::string&)>& visit) {
  visit(command, name);
  for (const CommandFacts& child : command.commands) {
    VisitAll(child, name.empty() ? child.name : name + " " + child.name, visit);
  }
}

struct Options {
  std::string names;
  std::string takingValues;
};

void AddOptions(const CommandFacts& command, Options& options) {
  for (const Parameter& parameter : command.parameters) {
    if (!parameter.IsOption()) continue;
    for (const std::string& name : parameter.GetNames()) {
      options.names += name + " ";
      if (!parameter.IsFlag()) options.takingValues += name + " ";
    }
  }
}

std::string MakeFacts(const CommandFacts& program, const CommandFacts& command,
                      const std::string& name) {
  Options options;
  AddOptions(command, options);
  if (!name.empty()) AddOptions(program, options);
  std::string words;
  for (const CommandFacts& child : command.commands) words += child.name + " ";
  if (name == "help") {
    for (const CommandFacts& child : program.commands) words += child.name + " ";
  }
  std::string arguments;
  for (const Parameter& parameter : command.parameters) {
    if (!parameter.IsOption()) arguments += std::string(KindOf(parameter.completion)) + " ";
  }
  return "    '" + name + "')\n      options='" + options.names + "'\n      takes=' " +
         options.takingValues + "'\n      words='" + words + "'\n      last=(" +
         (arguments.empty() ? "none " : arguments) + ") ;;\n";
}

std::string MakeValues(const CommandFacts& command, const std::string& name) {
  std::string rows;
  for (const Parameter& parameter : command.parameters) {
    if (!parameter.IsOption() || parameter.IsFlag()) continue;
    std::string pattern;
    const std::string prefix = name.empty() ? "*" : "'" + name + "'";
    for (const std::string& option : parameter.GetNames()) {
      if (!pattern.empty()) pattern += " | ";
      pattern.append(prefix).append("' ").append(option).append("'");
    }
    std::string words;
    for (const std::string& choice : parameter.choices) words += choice + " ";
    rows += "    " + pattern + ") " +
            (words.empty() ? std::string("kind='") + KindOf(parameter.completion) + "'"
                           : "kind=words words='" + words + "'") +
            " ;;\n";
  }
  return rows;
}

}  // namespace

std::string MakeBashCompletion(const CommandFacts& program) {
  std::string facts;
  std::string values;
  VisitAll(program, "", [&](const CommandFacts& command, const std::string& name) {
    facts += MakeFacts(program, command, name);
    if (!name.empty()) values += MakeValues(command, name);
  });
  return "# Completes the command line of larkspan in bash.\n# shellcheck shell=bash\n\n"
         "_larkspan_facts() {\n  case $1 in\n" +
         facts +
         "    *) options='' takes='' words='' last=(none) ;;\n  esac\n}\n\n"
         "_larkspan_value() {\n  case \"$1 $2\" in\n" +
         values + MakeValues(program, "") + "  esac\n}\n" + Code;
}

}  // namespace Documents
