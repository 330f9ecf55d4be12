#pragma once

#include <string>

#include "tools/larkspan/CommandTable.h"

namespace Documents {

/// larkspan(1), in the language of man(7).
[[nodiscard]] std::string MakeProgramPage(const Tool::CommandFacts& program);

/// larkspan-COMMAND(1), with all commands of a group.
[[nodiscard]] std::string MakeCommandPage(const Tool::CommandFacts& program,
                                          const Tool::CommandFacts& command);

/// A page of section 5 from a document in Markdown: headings, paragraphs, lists, tables and blocks
/// of code. `name` is the page's.
[[nodiscard]] std::string MakeFormatPage(const std::string& name, const std::string& summary,
                                         const std::string& markdown);

}  // namespace Documents
