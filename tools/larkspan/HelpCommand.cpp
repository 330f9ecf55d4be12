#include "tools/larkspan/HelpCommand.h"

#include <algorithm>
#include <sstream>

#include "tools/larkspan/CommandTable.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/Spelling.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

constexpr std::size_t Width = 79;  // narrow enough for terminals of 80 columns
constexpr std::size_t Column = 26;

// Words one after the other, broken before the width; each further line begins with `indent`
// blanks.
std::string Wrap(const std::string& text, std::size_t indent) {
  std::istringstream words(text);
  std::string result;
  std::size_t used = indent;
  for (std::string word; words >> word; used += word.size() + 1) {
    if (!result.empty() && used + word.size() > Width) {
      result += "\n" + std::string(indent, ' ');
      used = indent;
    } else if (!result.empty()) {
      result += ' ';
    }
    result += word;
  }
  return result;
}

std::string MakeRow(const std::string& left, const std::string& text) {
  std::string row = "  " + left;
  if (row.size() + 2 > Column) {
    row += "\n" + std::string(Column, ' ');
  } else {
    row.resize(Column, ' ');
  }
  return row + Wrap(text, Column) + "\n";
}

std::string MakeParagraphs(const std::string& text) {
  std::string result;
  for (std::size_t start = 0, end = 0; start < text.size(); start = end + 2) {
    end = std::min(text.find("\n\n", start), text.size());
    result += "\n" + Wrap(text.substr(start, end - start), 0) + "\n";
  }
  return result;
}

std::string MakeLeft(const Parameter& parameter) {
  if (!parameter.IsOption()) return parameter.names + (parameter.repeated ? "..." : "");
  std::string left;
  for (const std::string& name : parameter.GetNames()) {
    if (name.starts_with("--") && left.empty()) left = "    ";
    left += (left.empty() || left.ends_with(' ') ? "" : ", ") + name;
  }
  return left + (parameter.IsFlag() ? "" : " " + parameter.value);
}

template <class Wanted>
std::string MakeRows(const char* title, const std::vector<Parameter>& parameters, Wanted wanted) {
  std::string rows;
  for (const Parameter& parameter : parameters) {
    if (wanted(parameter)) rows += MakeRow(MakeLeft(parameter), parameter.text);
  }
  return rows.empty() ? rows : std::string("\n") + title + ":\n" + rows;
}

std::string MakeExitCodes() {
  std::string text = "Exit codes:";
  const char* separator = " ";
  for (const ExitCodeFacts& facts : GetExitCodes()) {
    text += separator + std::to_string(facts.code) + " " + facts.text;
    separator = "; ";
  }
  return Wrap(text, 0) + ".\n";
}

std::string Indent(const std::string& lines) {
  std::istringstream input(lines);
  std::string result;
  for (std::string line; std::getline(input, line);) result += "  " + line + "\n";
  return result;
}

bool IsOption(const Parameter& parameter) {
  return parameter.IsOption();
}

}  // namespace

std::string MakeUsage(const std::vector<const CommandFacts*>& path) {
  std::string usage;
  for (const CommandFacts* const command : path)
    usage += (usage.empty() ? "" : " ") + command->name;
  const CommandFacts& command = *path.back();
  if (!command.commands.empty()) usage += " COMMAND";
  usage += " [OPTION...]";
  for (const Parameter& parameter : command.parameters) {
    if (parameter.IsOption()) continue;
    const std::string name = parameter.names + (parameter.repeated ? "..." : "");
    usage += " " + (parameter.required ? name : "[" + name + "]");
  }
  return usage;
}

std::string MakeHelp(const std::vector<const CommandFacts*>& path) {
  const CommandFacts& command = *path.back();
  std::string text = command.summary + ".\n\nUsage: " + MakeUsage(path) + "\n";
  if (!command.commands.empty()) text += "\nCommands:\n";
  for (const CommandFacts& child : command.commands) text += MakeRow(child.name, child.summary);
  if (path.size() > 1) {
    text += MakeRows("Arguments", command.parameters, std::not_fn(IsOption));
    text += MakeRows("Options", command.parameters, IsOption);
  }
  text += MakeRows("Options of every command", path.front()->parameters, IsOption);
  text += MakeParagraphs(command.details);
  if (path.size() == 1) text += "\n" + MakeExitCodes();
  if (!command.examples.empty()) text += "\nExamples:\n" + Indent(command.examples);
  if (path.size() == 1) text += "\nlarkspan help COMMAND says more about a command.\n";
  return text;
}

void RunHelp(const HelpOptions& options, Console&) {
  ConsoleOptions unused;
  const CommandFacts program = MakeCommandTable(unused);
  std::vector<const CommandFacts*> path = {&program};
  for (const std::string& name : options.names) {
    const CommandFacts* const command = path.back()->Find(name);
    if (command == nullptr) {
      std::vector<std::string> names;
      for (const CommandFacts& known : path.back()->commands) names.push_back(known.name);
      throw Failure(ExitCode::WrongUsage, "command line",
                    "no command " + ToPrintable(name) + DidYouMean(name, names));
    }
    path.push_back(command);
  }
  StandardOutput output;
  output.Print(MakeHelp(path));
  output.Flush();
}

}  // namespace Tool
