#include "tools/larkspan/Text.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <utility>
#include <vector>

#include "foundation/IO/FileSystem.h"
#include "foundation/Vx/ConversionErrorException.h"
#include "foundation/Vx/OutOfMemoryException.h"
#include "foundation/Vx/Utf16.h"

namespace Tool {
namespace {

using View = Vx::UniString::View;

namespace Utf16 = Vx::Utf16;

constexpr char16_t EscapedBackslash = Utf16::EscapeByte('\\');

// What moves the cursor, changes colours, or turns the direction of writing.
bool IsObeyedByTerminals(char32_t code) noexcept {
  struct Range {
    char32_t first;
    char32_t last;
  };
  constexpr Range ranges[] = {{0, 0x1F},        {0x7F, 0x9F},     {0x61C, 0x61C},  {0x200E, 0x200F},
                              {0x2028, 0x202E}, {0x2066, 0x2069}, {0xFEFF, 0xFEFF}};
  return std::any_of(std::begin(ranges), std::end(ranges), [code](const Range& range) {
    return code >= range.first && code <= range.last;
  });
}

std::string ToUTF8(View text) {
  return Vx::UniString(text).ToUTF8();
}

// UTF-8, with the characters for which `escape` returns a text replaced by it.
template <class Escape>
std::string Encode(View text, Escape&& escape) {
  std::string result;
  std::size_t plain = 0;
  for (std::size_t index = 0; index < text.size();) {
    const Utf16::Character character = Utf16::Decode(text, index);
    const std::string escaped = escape(character.code, text.substr(index, character.units));
    const std::size_t end = index + character.units;
    if (!escaped.empty()) {
      result += ToUTF8(text.substr(plain, index - plain));
      result += escaped;
      plain = end;
    }
    index = end;
  }
  return result + ToUTF8(text.substr(plain));
}

std::string FormatNumber(const char* format, unsigned int number) {
  char text[16];
  std::snprintf(text, sizeof(text), format, number);
  return text;
}

std::string ToHex(std::string_view bytes) {
  std::string result;
  for (const char byte : bytes) result += FormatNumber("\\x%02x", static_cast<unsigned char>(byte));
  return result;
}

std::string EscapeForTerminal(char32_t code, View units) {
  if (code == U'\\' || code == EscapedBackslash) return "\\\\";
  if (Utf16::IsEscapedByte(code)) return ToHex(std::string(1, Utf16::UnescapeByte(code)));
  if (Utf16::IsSurrogate(code)) return FormatNumber("\\u%04x", static_cast<unsigned int>(code));
  return IsObeyedByTerminals(code) ? ToHex(ToUTF8(units)) : std::string();
}

// One name of a path that is not UTF-8. The file system knows how it reads such names.
Vx::UniString DecodeName(std::string_view name) {
  if (name.empty() || name == "." || name == "..") return Vx::UniString::FromUTF8(name);
  ::IO::Location location;
  if (::IO::fileSystem.FromNativePath("/" + std::string(name), location) != 0) {
    Vx::ThrowOutOfMemory();
  }
  return FoldBackslashes(Vx::UniString(location.GetPath().substr(1)));
}

std::string ToPrintablePath(const ::IO::Location& location) {
  Vx::UniString path(location.GetPath());
  path.ReplaceAll(u'\\', u'/');
  return ToPrintable(path.GetView());
}

// A path, and the name that the user gave to it.
struct PathName {
  std::string whole;
  std::string given;
};

std::vector<PathName>& GetPathNames() {
  static std::vector<PathName> names;
  return names;
}

}  // namespace

Vx::UniString TextFromArgument(std::string_view bytes) {
  try {
    return Vx::UniString::FromUTF8(bytes);
  } catch (const Vx::ConversionErrorException&) {
    Vx::UniString text;
    for (std::size_t start = 0, end = 0; end < bytes.size(); start = end + 1) {
      end = std::min(bytes.find('/', start), bytes.size());
      text.Append(DecodeName(bytes.substr(start, end - start)).GetView());
      if (end < bytes.size()) text.Append(u'/');
    }
    return text;
  }
}

std::string ToBytes(View text) {
  return Encode(text, [](char32_t code, View) {
    return Utf16::IsEscapedByte(code) ? std::string(1, Utf16::UnescapeByte(code)) : std::string();
  });
}

std::string ToPrintable(View text) {
  return Encode(text, EscapeForTerminal);
}

std::string ToPrintable(std::string_view bytes) {
  return ToPrintable(TextFromArgument(bytes).GetView());
}

Vx::UniString FoldBackslashes(Vx::UniString name) {
  name.ReplaceAll(EscapedBackslash, u'\\');
  return name;
}

void NameAs(const ::IO::Location& location, const std::string& argument) {
  std::string whole = ToPrintablePath(location);
  if (whole == "/") return;  // every absolute path is below it
  GetPathNames().push_back(PathName{std::move(whole), ToPrintable(argument)});
}

std::string ToPrintable(const ::IO::Location& location) {
  std::string path = ToPrintablePath(location);
  const PathName* best = nullptr;
  for (const PathName& row : GetPathNames()) {
    const bool isBelow = path.starts_with(row.whole) &&
                         (path.size() == row.whole.size() || path[row.whole.size()] == '/');
    if (isBelow && (best == nullptr || row.whole.size() > best->whole.size())) best = &row;
  }
  if (best == nullptr) return path;
  if (path.size() == best->whole.size()) return best->given;
  std::string rest = path.substr(best->whole.size() + 1);
  if (best->given == ".") return rest;
  return best->given + (best->given.ends_with('/') ? "" : "/") + rest;
}

std::string ToHumanSize(unsigned __int64 size) {
  if (size < 1024) return std::to_string(size);
  auto scaled = static_cast<double>(size);
  const char* unit = "BKMGTPE";
  // What would be printed as 1024 is one of the next unit.
  while (scaled >= 1023.5) {
    scaled /= 1024;
    ++unit;
  }
  char text[32];
  std::snprintf(text, sizeof(text), scaled < 9.95 ? "%.1f%c" : "%.0f%c", scaled, *unit);
  return text;
}

std::string ToCalendar(__int64 secondsSince1970) {
  // Years 0 to 9999, so that the text always has the same width.
  constexpr __int64 first = -62167219200;
  constexpr __int64 last = 253402300799;
  if (secondsSince1970 < first || secondsSince1970 > last) return "-";
  const std::chrono::sys_seconds time{std::chrono::seconds(secondsSince1970)};
  const auto day = std::chrono::floor<std::chrono::days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  char text[64];
  std::snprintf(text, sizeof(text), "%04d-%02u-%02u %02d:%02d:%02d", static_cast<int>(date.year()),
                static_cast<unsigned int>(date.month()), static_cast<unsigned int>(date.day()),
                static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                static_cast<int>(clock.seconds().count()));
  return text;
}

}  // namespace Tool
