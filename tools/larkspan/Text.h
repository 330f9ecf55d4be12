#pragma once

#include <string>
#include <string_view>

#include "foundation/IO/Location.h"
#include "foundation/Vx/UniString.h"

/// Converts between the bytes of command lines and terminals and the 16-bit texts of archives. A
/// byte that is not UTF-8 is the lone surrogate U+DC00 plus the byte, as in file names.
namespace Tool {

/// The text of an argument, whatever its bytes.
[[nodiscard]] Vx::UniString TextFromArgument(std::string_view bytes);

/// The inverse. A surrogate that stands for no byte becomes U+FFFD.
[[nodiscard]] std::string ToBytes(Vx::UniString::View text);

/// For a person's eyes, on one line: what a terminal would obey, and what is not text, is shown as
/// its bytes, `\x1b`; a backslash is doubled.
[[nodiscard]] std::string ToPrintable(Vx::UniString::View text);
[[nodiscard]] std::string ToPrintable(std::string_view bytes);

/// `name` with escaped and separating backslashes unified, to be compared with what a user typed.
[[nodiscard]] Vx::UniString FoldBackslashes(Vx::UniString name);

/// From now on messages name the location, and what is below it, as `argument` does, a relative
/// path. For the thread that reads the command line, before it starts others.
void NameAs(const ::IO::Location& location, const std::string& argument);

/// The location's path as the user knows it, printable.
[[nodiscard]] std::string ToPrintable(const ::IO::Location& location);

/// Date and time of day in UTC; the text of a time that no calendar has is a dash.
[[nodiscard]] std::string ToCalendar(__int64 secondsSince1970);

/// "17", "1.5K", "20G": powers of 1024.
[[nodiscard]] std::string ToHumanSize(unsigned __int64 size);

}  // namespace Tool
