#include "foundation/Vx/Format.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

#include "foundation/Vx/Allocator.h"
#include "foundation/Vx/String.h"
#include "foundation/Vx/UniString.h"

namespace Vx {
namespace {

// Running out of memory here ends as everywhere: in `OutOfMemoryException`.
using Text = std::basic_string<char, std::char_traits<char>, Allocator<char>>;

struct Directive {
  bool leftAligned = false;
  bool showPlus = false;
  bool showBlank = false;
  bool zeroFilled = false;
  bool prefixed = false;
  unsigned int width = 0;
  unsigned int precision = ToEnd;
  char conversion = 0;
  std::size_t length = 0;  // of the directive's text; 0 if this is not a directive

  [[nodiscard]] bool HasPrecision() const noexcept { return precision != ToEnd; }
};

// Widths and precisions come from formats, which are code; the limit keeps a slip from filling
// the memory.
constexpr unsigned int MaxFieldWidth = 4096;

unsigned int ReadNumber(std::string_view format, std::size_t& index) noexcept {
  unsigned int number = 0;
  for (; index < format.size() && format[index] >= '0' && format[index] <= '9'; ++index) {
    number = std::min(number * 10 + static_cast<unsigned int>(format[index] - '0'), MaxFieldWidth);
  }
  return number;
}

bool ReadFlag(char character, Directive& directive) noexcept {
  switch (character) {
    case '-':
      return directive.leftAligned = true;
    case '+':
      return directive.showPlus = true;
    case ' ':
      return directive.showBlank = true;
    case '0':
      return directive.zeroFilled = true;
    case '#':
      return directive.prefixed = true;
    default:
      return false;
  }
}

// `format` begins with a per-cent sign.
Directive ParseDirective(std::string_view format) noexcept {
  Directive directive;
  std::size_t index = 1;
  while (index < format.size() && ReadFlag(format[index], directive)) ++index;
  directive.width = ReadNumber(format, index);
  if (index < format.size() && format[index] == '.') {
    ++index;
    directive.precision = ReadNumber(format, index);
  }
  while (index < format.size() &&
         std::string_view("hlLqjzt").find(format[index]) != std::string_view::npos) {
    ++index;
  }
  if (index == format.size() ||
      std::string_view("diuxXocsTfegFEG%").find(format[index]) == std::string_view::npos) {
    return Directive{};
  }
  directive.conversion = format[index];
  directive.length = index + 1;
  return directive;
}

struct Number {
  Text sign;  // or prefix: what zero filling follows
  Text digits;
};

Text ToDigits(unsigned __int64 value, int base) {
  char digits[64];
  const auto [end, error] = std::to_chars(digits, digits + sizeof(digits), value, base);
  return Text(digits, end);
}

void ToUpperCase(Text& text) {
  for (char& character : text) {
    if (character >= 'a' && character <= 'z') character = static_cast<char>(character - 'a' + 'A');
  }
}

int GetBase(char conversion) noexcept {
  if (conversion == 'x' || conversion == 'X') return 16;
  return conversion == 'o' ? 8 : 10;
}

// The bit pattern in the argument's own width.
unsigned __int64 GetPattern(const FormatArgument& argument) noexcept {
  if (argument.width >= sizeof(unsigned __int64) || argument.width == 0) return argument.number;
  return argument.number & ((1ULL << (argument.width * 8U)) - 1);
}

Number FormatInteger(const FormatArgument& argument, const Directive& directive) {
  const int base = GetBase(directive.conversion);
  const bool negative = base == 10 && argument.kind == FormatArgument::Kind::Signed &&
                        static_cast<__int64>(argument.number) < 0;
  Number number;
  if (negative) {
    number = {"-", ToDigits(0 - argument.number, base)};
  } else {
    number.digits = ToDigits(GetPattern(argument), base);
    const bool takesSign = base == 10 && argument.kind != FormatArgument::Kind::Unsigned;
    if (takesSign && directive.showBlank) number.sign = " ";
    if (takesSign && directive.showPlus) number.sign = "+";
    if (base == 16 && directive.prefixed && number.digits != "0") number.sign = "0x";
  }
  if (directive.precision == 0 && number.digits == "0") number.digits.clear();
  if (directive.HasPrecision() && number.digits.size() < directive.precision) {
    number.digits.insert(0, directive.precision - number.digits.size(), '0');
  }
  const bool octal = base == 8 && directive.prefixed;
  if (octal && !number.digits.starts_with('0')) number.digits.insert(0, 1, '0');
  if (directive.conversion == 'X') {
    ToUpperCase(number.sign);
    ToUpperCase(number.digits);
  }
  return number;
}

std::chars_format GetFloatForm(char conversion) noexcept {
  if (conversion == 'e' || conversion == 'E') return std::chars_format::scientific;
  if (conversion == 'f' || conversion == 'F') return std::chars_format::fixed;
  return std::chars_format::general;
}

Number FormatFloat(double value, const Directive& directive) {
  // The longest fixed form has 309 digits before the point.
  const int precision = directive.HasPrecision() ? static_cast<int>(directive.precision) : 6;
  Text digits(static_cast<std::size_t>(precision) + 340, '\0');
  const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                          GetFloatForm(directive.conversion), precision);
  digits.resize(static_cast<std::size_t>(end - digits.data()));
  Number number;
  if (digits.front() == '-') {
    number.sign = "-";
    digits.erase(0, 1);
  } else if (directive.showPlus || directive.showBlank) {
    number.sign = directive.showPlus ? "+" : " ";
  }
  number.digits = std::move(digits);
  if (directive.conversion >= 'E' && directive.conversion <= 'G') ToUpperCase(number.digits);
  return number;
}

void PutNumber(FormatSink& sink, const Number& number, const Directive& directive, bool canFill) {
  const std::size_t length = number.sign.size() + number.digits.size();
  const Text fill(directive.width > length ? directive.width - length : 0,
                  canFill && directive.zeroFilled && !directive.leftAligned ? '0' : ' ');
  Text text;
  if (directive.leftAligned) {
    text = number.sign + number.digits + fill;
  } else if (!fill.empty() && fill.front() == '0') {
    text = number.sign + fill + number.digits;
  } else {
    text = fill + number.sign + number.digits;
  }
  sink.AppendBytes(text);
}

template <class View, class Append>
void PutText(FormatSink& sink, View text, const Directive& directive, Append append) {
  text = text.substr(0, directive.precision);
  const Text fill(directive.width > text.size() ? directive.width - text.size() : 0, ' ');
  if (!directive.leftAligned) sink.AppendBytes(fill);
  append(text);
  if (directive.leftAligned) sink.AppendBytes(fill);
}

void PutBytes(FormatSink& sink, std::string_view text, const Directive& directive) {
  PutText(sink, text, directive, [&sink](std::string_view bytes) { sink.AppendBytes(bytes); });
}

void PutUnits(FormatSink& sink, std::u16string_view text, const Directive& directive) {
  PutText(sink, text, directive, [&sink](std::u16string_view units) { sink.AppendUnits(units); });
}

bool IsIntegerConversion(char conversion) noexcept {
  return std::string_view("diuxXo").find(conversion) != std::string_view::npos;
}

void PutArgument(FormatSink& sink, const FormatArgument& argument, const Directive& directive) {
  using Kind = FormatArgument::Kind;
  const bool asInteger = IsIntegerConversion(directive.conversion);
  switch (argument.kind) {
    case Kind::Bytes:
      return PutBytes(sink, argument.bytes, directive);
    case Kind::Units:
      return PutUnits(sink, argument.units, directive);
    case Kind::Float:
      return PutNumber(sink, FormatFloat(argument.real, directive), directive,
                       std::isfinite(argument.real));
    case Kind::Byte:
      if (!asInteger) {
        const char byte = static_cast<char>(argument.number);
        return PutBytes(sink, std::string_view(&byte, 1), directive);
      }
      break;
    case Kind::Unit:
      if (!asInteger) {
        const auto unit = static_cast<UniChar>(argument.number);
        return PutUnits(sink, std::u16string_view(&unit, 1), directive);
      }
      break;
    case Kind::Signed:
    case Kind::Unsigned:
      break;
  }
  if (directive.conversion == 'c') {
    const auto unit = static_cast<UniChar>(argument.number);
    return PutUnits(sink, std::u16string_view(&unit, 1), directive);
  }
  PutNumber(sink, FormatInteger(argument, directive), directive, !directive.HasPrecision());
}

}  // namespace

FormatArgument::FormatArgument(const String& text) noexcept : bytes(text.GetView()) {}

FormatArgument::FormatArgument(const UniString& text) noexcept
    : kind(Kind::Units), units(text.GetView()) {}

void FormatText(FormatSink& sink, const char* format, const FormatArgument* arguments,
                std::size_t count) {
  std::string_view rest = format == nullptr ? std::string_view() : format;
  std::size_t used = 0;
  while (!rest.empty()) {
    const std::size_t sign = std::min(rest.find('%'), rest.size());
    sink.AppendBytes(rest.substr(0, sign));
    rest.remove_prefix(sign);
    if (rest.empty()) return;
    const Directive directive = ParseDirective(rest);
    const std::size_t length = std::max<std::size_t>(directive.length, 1);
    if (directive.conversion == '%') {
      sink.AppendBytes("%");
    } else if (directive.length == 0 || used == count) {
      sink.AppendBytes(rest.substr(0, length));
    } else {
      PutArgument(sink, arguments[used++], directive);
    }
    rest.remove_prefix(length);
  }
}

}  // namespace Vx
