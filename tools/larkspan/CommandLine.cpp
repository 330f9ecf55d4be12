#include "tools/larkspan/CommandLine.h"

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/larkspan/CommandTable.h"
#include "tools/larkspan/HelpCommand.h"
#include "tools/larkspan/OutputChannel.h"
#include "tools/larkspan/Spelling.h"
#include "tools/larkspan/Text.h"

namespace Tool {
namespace {

using Words = std::vector<std::string>;
using Path = std::vector<const CommandFacts*>;

// The parser takes an argument in brackets for a list, and loses sight of "--" behind the first of
// several names. A zero byte in front, which no argument can have, keeps it from looking closer.
Words ShieldArguments(int count, const char* const* arguments) {
  Words shielded;
  bool namesOnly = false;
  for (int index = 1; index < count; ++index) {
    std::string argument = arguments[index];
    if (!namesOnly && argument == "--") {
      namesOnly = true;
      continue;
    }
    const bool misread = argument.starts_with('[') || (namesOnly && argument.starts_with('-'));
    if (misread) argument.insert(argument.begin(), '\0');
    shielded.push_back(std::move(argument));
  }
  return shielded;
}

std::string Unshield(std::string value) {
  std::erase(value, '\0');
  return value;
}

void AddToParser(const CommandFacts& command, CLI::App& app, Request& request) {
  for (const Parameter& parameter : command.parameters) parameter.bind(app);
  app.get_help_ptr()->disable_flag_override();
  if (command.run) app.callback([&request, run = command.run] { request.command = run; });
  for (const CommandFacts& child : command.commands) {
    AddToParser(child, *app.add_subcommand(child.name, child.summary), request);
  }
}

// The program, and the commands that the parser met.
Path FindPath(const CommandFacts& program, const CLI::App& app) {
  Path path = {&program};
  for (const CLI::App* level = &app; !level->get_subcommands().empty();) {
    level = level->get_subcommands().front();
    path.push_back(path.back()->Find(level->get_name()));
  }
  return path;
}

Words GetNames(const std::vector<CommandFacts>& commands) {
  Words names;
  for (const CommandFacts& command : commands) names.push_back(command.name);
  return names;
}

Words GetOptions(const CommandFacts& command) {
  Words names;
  for (const Parameter& parameter : command.parameters) {
    if (!parameter.IsOption()) continue;
    for (std::string& name : parameter.GetNames()) names.push_back(std::move(name));
  }
  return names;
}

bool IsOption(const std::string& word) {
  return word.size() > 1 && word.front() == '-';
}

// What is wrong with the words that the parser had no use for, the first of them first.
std::string DescribeUnknown(const Words& unknown, const Path& path) {
  const CommandFacts& command = *path.back();
  const auto noCommand = std::ranges::find_if_not(unknown, IsOption);
  if (command.commands.size() > 0 && noCommand != unknown.end()) {
    return "no command " + *noCommand + DidYouMean(*noCommand, GetNames(command.commands));
  }
  const std::string& first = unknown.front();
  const std::string name = first.substr(0, first.find('='));
  std::string text = IsOption(first) ? "no option " + name : "not expected: " + first;
  if (IsOption(first)) {
    const Words own = GetOptions(command);
    if (std::ranges::find(own, name) != own.end()) return name + " belongs behind " + command.name;
    Words options = GetOptions(*path.front());
    options.insert(options.end(), own.begin(), own.end());
    return text + DidYouMean(name, options);
  }
  for (std::size_t index = 1; index < unknown.size(); ++index) text += " " + unknown[index];
  return text;
}

// The words that are left over, as they were typed.
Words FindUnknown(const CLI::App& app, const Words& typed) {
  Words unknown = app.remaining(true);
  std::ranges::stable_sort(unknown, {}, [&](const std::string& word) {
    return std::ranges::find(typed, word) - typed.begin();
  });
  return unknown;
}

// The parser's own words, but where they are hard to understand.
std::string DescribeFault(const CLI::ParseError& error) {
  std::string text = error.what();
  const std::size_t end = text.find(" was given a disallowed flag override");
  if (end != text.npos) return "--" + text.substr(0, end) + " takes no value";
  const std::string_view needed = ": 1 required ";
  const std::size_t value = text.find(needed);
  if (value == text.npos || !text.ends_with(" missing")) return text;
  const std::size_t start = value + needed.size();
  return text.substr(0, value) + " needs a value, " + text.substr(start, text.rfind(' ') - start);
}

std::string Describe(const CLI::ParseError& error, const CLI::App& app, const Words& typed,
                     const Path& path) {
  const Words unknown = FindUnknown(app, typed);
  const CommandFacts& command = *path.back();
  std::string text = unknown.empty() ? DescribeFault(error) : DescribeUnknown(unknown, path);
  if (unknown.empty() && path.size() > 1 && !command.commands.empty()) {
    text = "a command of " + command.name + " is required";
  }
  if (text.ends_with('?')) return ToPrintable(Unshield(text));
  std::string whole = "larkspan help";
  for (std::size_t level = 1; level < path.size(); ++level) whole += " " + path[level]->name;
  return ToPrintable(Unshield(text)) + "; " + whole + " tells what there is";
}

std::function<void(Console&)> PrintCommand(const std::string& text) {
  return [text](Console&) {
    StandardOutput output;
    output.Print(text);
    output.Flush();
  };
}

// Whoever types no command wants to know what there is; a script has forgotten something.
void RunNothing(Console& console) {
  if (!console.IsJson()) RunHelp({}, console);
  throw Failure(ExitCode::WrongUsage, "command line",
                "a command is required; larkspan help tells what there is");
}

}  // namespace

bool AsksForJson(int count, const char* const* arguments) {
  for (int index = 1; index < count; ++index) {
    const std::string_view argument = arguments[index];
    if (argument == "--") return false;
    if (argument == "--json") return true;
  }
  return false;
}

Request ParseCommandLine(int count, const char* const* arguments) {
  Request request;
  const CommandFacts program = MakeCommandTable(request.console);
  CLI::App app;
  app.require_subcommand(0, 1);
  app.fallthrough();
  AddToParser(program, app, request);
  for (CLI::App* const group : app.get_subcommands({})) {
    if (!group->get_subcommands({}).empty()) group->require_subcommand(1);
  }
  const Words shielded = ShieldArguments(count, arguments);
  try {
    app.parse(Words(shielded.rbegin(), shielded.rend()));  // it takes them from the end
  } catch (const CLI::CallForHelp&) {
    request.command = PrintCommand(MakeHelp(FindPath(program, app)));
  } catch (const CLI::CallForVersion&) {
    request.command = PrintCommand(GetVersionText() + "\n");
  } catch (const CLI::ParseError& error) {
    throw Failure(ExitCode::WrongUsage, "command line",
                  Describe(error, app, shielded, FindPath(program, app)));
  }
  if (!request.command) request.command = RunNothing;
  return request;
}

}  // namespace Tool
