#include "tools/documents/ManPage.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <sstream>
#include <vector>

#include "foundation/Vx/UniString.h"
#include "foundation/Vx/Utf16.h"
#include "tools/documents/Replace.h"
#include "tools/larkspan/HelpCommand.h"

namespace Documents {
namespace {

using Tool::CommandFacts;
using Tool::Parameter;
using Path = std::vector<const CommandFacts*>;

// What is not ASCII, by its number: a formatter need not read UTF-8.
std::string EscapeCharacters(const std::string& text) {
  const Vx::UniString units = Vx::UniString::FromUTF8(text);
  std::string result;
  for (std::size_t index = 0; index < units.GetView().size();) {
    const Vx::Utf16::Character character = Vx::Utf16::Decode(units.GetView(), index);
    index += character.units;
    if (character.code < 0x80) {
      result += static_cast<char>(character.code);
      continue;
    }
    char number[16];
    std::snprintf(number, sizeof(number), "\\[u%04X]", static_cast<unsigned int>(character.code));
    result += number;
  }
  return result;
}

// Text of a line that is none of the formatter's orders.
std::string Escape(std::string text) {
  text = Replace(std::move(text), "\\", "\\e");
  text = EscapeCharacters(Replace(std::move(text), "-", "\\-"));
  const bool isOrder = text.starts_with('.') || text.starts_with('\'');
  return isOrder ? "\\&" + text : text;
}

std::string Upper(std::string text) {
  for (char& letter : text) {
    letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
  }
  return text;
}

std::string Bold(const std::string& text) {
  return "\\fB" + Escape(text) + "\\fR";
}

std::string Italic(const std::string& text) {
  return "\\fI" + Escape(text) + "\\fR";
}

std::string MakeHead(const std::string& name, const char* section, const std::string& summary) {
  std::string lower = summary;
  lower[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(lower[0])));
  return ".TH " + Upper(Escape(name)) + " " + section + R"( "" ")" + Tool::GetVersionText() +
         "\"\n.SH NAME\n" + Escape(name) + " \\- " + Escape(lower) + "\n";
}

// Paragraphs, which an empty line divides.
std::string MakeText(const std::string& text) {
  std::istringstream lines(text);
  std::string result;
  for (std::string line; std::getline(lines, line);) {
    result += (line.empty() ? ".PP" : Escape(line)) + "\n";
  }
  return result;
}

std::string MakeTag(const Parameter& parameter) {
  if (!parameter.IsOption()) return Italic(parameter.names + (parameter.repeated ? "..." : ""));
  std::string tag;
  for (const std::string& name : parameter.GetNames())
    tag += (tag.empty() ? "" : ", ") + Bold(name);
  return parameter.IsFlag() ? tag : tag + " " + Italic(parameter.value);
}

std::string MakeParameters(const std::vector<Parameter>& parameters) {
  std::string text;
  for (const Parameter& parameter : parameters) {
    text += ".TP\n" + MakeTag(parameter) + "\n" + Escape(parameter.text) + ".\n";
  }
  return text;
}

std::string MakeExamples(const std::string& examples) {
  std::istringstream lines(examples);
  std::string text = ".SH EXAMPLES\n.nf\n";
  for (std::string line; std::getline(lines, line);) text += Escape(line) + "\n";
  return text + ".fi\n";
}

std::string MakeExitCodes() {
  std::string text = ".SH EXIT STATUS\n";
  for (const Tool::ExitCodeFacts& facts : Tool::GetExitCodes()) {
    text += ".TP\n" + Bold(std::to_string(facts.code)) + "\n" + Escape(facts.text) + "\n";
  }
  return text;
}

std::string MakeSynopsis(const Path& path) {
  return Escape(Tool::MakeUsage(path)) + "\n";
}

std::string MakeEnd(const CommandFacts& program, const std::string& examples) {
  std::string text = ".SH OPTIONS OF EVERY COMMAND\n" + MakeParameters(program.parameters);
  return text + MakeExitCodes() + MakeExamples(examples) + ".SH SEE ALSO\n";
}

// Marks of code and emphasis, and links, of which the words stay.
std::string StripMarks(const std::string& line) {
  std::string text;
  for (std::size_t index = 0; index < line.size(); ++index) {
    const bool linkEnd = line.compare(index, 2, "](") == 0;
    if (linkEnd) index = std::min(line.find(')', index), line.size());
    if (linkEnd || line[index] == '`' || line[index] == '*' || line[index] == '[') continue;
    text += line[index];
  }
  return text;
}

// Cells are fields of a tab-separated line for the table formatter, each as wide as it needs.
std::string MakeTableRow(const std::string& line) {
  std::string cells;
  std::istringstream input(line.substr(1));
  for (std::string cell; std::getline(input, cell, '|');) {
    const std::size_t first = std::min(cell.find_first_not_of(' '), cell.size());
    const std::size_t last = cell.find_last_not_of(' ') + 1;
    cells += (cells.empty() ? "T{\n" : "\tT{\n") +
             Escape(StripMarks(cell.substr(first, std::max(first, last) - first))) + "\nT}";
  }
  return cells + "\n";
}

// Turns a document into a page, line by line.
class PageWriter final {
 public:
  void Add(const std::string& line) {
    if (!inCode && line.starts_with("## ")) skipping = IsForDevelopers(line.substr(3));
    if (skipping) return;
    const bool isRow = !inCode && line.starts_with('|');
    if (inTable && !isRow) text += ".TE\n";
    if (isRow) {
      AddRow(line);
    } else if (line.starts_with("```")) {
      inCode = !inCode;
      text += inCode ? ".IP\n.nf\n" : ".fi\n";
    } else if (inCode) {
      text += Escape(line) + "\n";
    } else {
      AddText(line);
    }
    inTable = isRow;
  }

  [[nodiscard]] std::string Finish() const { return text + (inTable ? ".TE\n" : ""); }

 private:
  // Examples byte by byte, and what a library has to think of.
  static bool IsForDevelopers(const std::string& title) {
    const char* const titles[] = {"Three archives", "Rewriting", "Why"};
    return std::ranges::any_of(titles, [&](const char* words) { return title.starts_with(words); });
  }

  void AddRow(const std::string& line) {
    if (!inTable) {
      text += ".TS\nallbox;\n";
      for (auto column = std::ranges::count(line, '|') - 1; column > 0; --column) text += "lx ";
      text += ".\n";
    }
    if (line.find_first_not_of("|-: ") != line.npos) text += MakeTableRow(line);
    divided = afterTitle = false;
  }

  void AddText(const std::string& line) {
    const std::size_t first = line.find_first_not_of(' ');
    if (first == line.npos) {
      divided = true;
    } else if (line.starts_with("# ") || line.starts_with("- [")) {
      // The page's own name and sections say it.
    } else if (line.starts_with('#')) {
      const std::string title = line.substr(line.find(' ') + 1);
      text += (line.starts_with("## ") ? ".SH " : ".SS ") + Upper(StripMarks(title)) + "\n";
      afterTitle = true;
    } else {
      const bool isItem = line.starts_with("- ");
      if (isItem) text += ".IP \\(bu 2\n";
      if (!isItem && divided && !afterTitle) text += ".PP\n";
      text += Escape(StripMarks(line.substr(isItem ? 2 : first))) + "\n";
      divided = afterTitle = false;
    }
  }

  std::string text;
  bool inCode = false;
  bool inTable = false;
  bool skipping = false;
  bool divided = false;  // by an empty line
  bool afterTitle = true;
};

}  // namespace

std::string MakeProgramPage(const CommandFacts& program) {
  std::string text = MakeHead("larkspan", "1", program.summary) + ".SH SYNOPSIS\n" +
                     MakeSynopsis({&program}) + ".SH DESCRIPTION\n" + MakeText(program.details) +
                     ".SH COMMANDS\n";
  std::string related;
  for (const CommandFacts& command : program.commands) {
    text += ".TP\n" + Bold(command.name) + "\n" + Escape(command.summary) + ".\n";
    related += ".BR larkspan\\-" + Escape(command.name) + " (1),\n";
  }
  return text + MakeEnd(program, program.examples) + related + ".BR larkspan\\-archive (5)\n";
}

std::string MakeCommandPage(const CommandFacts& program, const CommandFacts& command) {
  std::string text = MakeHead("larkspan-" + command.name, "1", command.summary) + ".SH SYNOPSIS\n";
  std::string sections;
  for (const CommandFacts& child : command.commands) {
    text += (sections.empty() ? "" : ".br\n") + MakeSynopsis({&program, &command, &child});
    sections += ".SH " + Upper(child.name) + "\n" + Escape(child.summary) + ".\n" +
                MakeParameters(child.parameters);
  }
  if (command.run) text += MakeSynopsis({&program, &command});
  text += ".SH DESCRIPTION\n" + MakeText(command.details) + sections;
  if (command.run) text += ".SH OPTIONS\n" + MakeParameters(command.parameters);
  return text + MakeEnd(program, command.examples) +
         ".BR larkspan (1),\n.BR larkspan\\-archive (5)\n";
}

std::string MakeFormatPage(const std::string& name, const std::string& summary,
                           const std::string& markdown) {
  PageWriter writer;
  std::istringstream lines(markdown);
  for (std::string line; std::getline(lines, line);) writer.Add(line);
  return "'\\\" t\n" + MakeHead(name, "5", summary) + ".ad l\n.SH DESCRIPTION\n" + writer.Finish() +
         ".SH SEE ALSO\n.BR larkspan (1)\n";
}

}  // namespace Documents
