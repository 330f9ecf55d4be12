#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/larkspan/Console.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace Tool {

/// What a shell completes a value to.
enum class Completion : unsigned char { None, File, Folder, Entry };

/// An option or an argument of a command.
struct Parameter {
  std::string names;  // "-C,--directory"; of an argument "PATH"
  std::string text;   // a sentence, or parts of one with a `;` between
  std::string value;  // what stands for an option's value; empty for a flag
  std::vector<std::string> choices;
  Completion completion = Completion::None;
  bool required = false;
  bool repeated = false;
  /// Adds it to a parser, which puts the value where the command reads it.
  std::function<CLI::Option*(CLI::App&)> bind;

  [[nodiscard]] bool IsOption() const { return names.starts_with('-'); }
  [[nodiscard]] bool IsFlag() const { return IsOption() && value.empty(); }
  /// "-C" and "--directory".
  [[nodiscard]] std::vector<std::string> GetNames() const;
};

/// A command, or a group of them, in all that the parser, the help, the manual and the completions
/// have in common.
struct CommandFacts {
  std::string name;
  std::string summary;
  std::string details;   // paragraphs, with an empty line between two
  std::string examples;  // lines of a shell
  std::vector<Parameter> parameters;
  std::vector<CommandFacts> commands;
  std::function<void(Console&)> run;  // none for a group

  /// The command of that name; null if there is none.
  [[nodiscard]] const CommandFacts* Find(const std::string& command) const;
};

struct ExitCodeFacts {
  int code;
  const char* text;
};

/// The program as a whole: its parameters are those of every command. Values that are parsed go to
/// the caller's `options` and into the table itself.
[[nodiscard]] CommandFacts MakeCommandTable(ConsoleOptions& options);

[[nodiscard]] const std::vector<ExitCodeFacts>& GetExitCodes();

/// "larkspan 1.2.3".
[[nodiscard]] std::string GetVersionText();

}  // namespace Tool
