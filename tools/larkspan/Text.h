#pragma once

#include <string>
#include <string_view>

#include "foundation/IO/Location.h"
#include "foundation/Vx/UniString.h"

/// Between the bytes of command lines and terminals and the 16-bit texts of archives. A byte that
/// is no UTF-8 is the lone surrogate U+DC00 plus the byte, as in names of files.
namespace Tool {

/// The text of an argument, whatever its bytes.
[[nodiscard]] Vx::UniString TextFromArgument(std::string_view bytes);

/// The same backwards. A surrogate that stands for no byte comes as U+FFFD.
[[nodiscard]] std::string ToBytes(Vx::UniString::View text);

/// For a person's eyes, on one line: what a terminal would obey, and what is no text, is shown as
/// its bytes, `\x1b`; a backslash is doubled.
[[nodiscard]] std::string ToPrintable(Vx::UniString::View text);
[[nodiscard]] std::string ToPrintable(std::string_view bytes);

/// `name` with the backslash of a file's name and the backslash that separates made one, for names
/// to be compared with what a user typed.
[[nodiscard]] Vx::UniString FoldBackslashes(Vx::UniString name);

/// The place that an argument names; a relative one counts from the current folder.
/// Raises `Failure` for one that can't be a place.
[[nodiscard]] ::IO::Location LocationFromArgument(const std::string& argument);

/// The location's path as the user knows it, printable.
[[nodiscard]] std::string ToPrintable(const ::IO::Location& location);

/// "1 entry", "2 entries".
[[nodiscard]] std::string Count(unsigned __int64 number, const char* one, const char* many);

}  // namespace Tool
