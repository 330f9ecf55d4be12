#include "Larkspan/Archive/TreeFacts.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <string>
#include <utility>

namespace Larkspan::Archive::TreeFacts {
namespace {

constexpr unsigned int Billion = 1000000000;
constexpr std::size_t DecimalCount = 9;
constexpr unsigned int ModeBits = 07777;

// Takes a number of digits alone off the front; false if there is none or it is too large.
template <class Number>
bool TakeNumber(std::string_view& text, Number& number, int base) {
  if (text.empty() || text.front() < '0' || text.front() > '9') return false;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return error == std::errc();
}

// A time or a mode is short and has no other characters.
std::string ToAscii(std::u16string_view text) {
  constexpr std::size_t longest = 40;
  std::string result;
  if (text.size() > longest) return result;
  for (const char16_t unit : text) result += unit < 0x80 ? static_cast<char>(unit) : '?';
  return result;
}

// The decimals as billionths; digits after the ninth don't count.
bool TakeDecimals(std::string_view& text, unsigned int& billionths) {
  billionths = 0;
  if (text.empty()) return true;
  if (text.front() != '.' || text.size() == 1) return false;
  text.remove_prefix(1);
  if (text.find_first_not_of("0123456789") != text.npos) return false;
  std::string digits(text.substr(0, DecimalCount));
  digits.resize(DecimalCount, '0');
  std::string_view rest = digits;
  return TakeNumber(rest, billionths, 10);
}

Vx::UniString NumberToText(unsigned int number) {
  return Vx::UniString::FromUTF8(std::to_string(number));
}

// What stands before the first blank, which goes with it.
std::u16string_view TakeWord(std::u16string_view& text) {
  const std::u16string_view word = text.substr(0, text.find(u' '));
  text.remove_prefix(std::min(text.size(), word.size() + 1));
  return word;
}

// A number, and perhaps a name behind `separator`.
bool TakeAccount(std::u16string_view text, char16_t separator, Account& account) {
  const std::string ascii = ToAscii(text.substr(0, text.find(separator)));
  std::string_view digits = ascii;
  unsigned int number = 0;
  if (!TakeNumber(digits, number, 10) || !digits.empty()) return false;
  const std::size_t name = std::min(text.size(), ascii.size() + 1);
  account = {number, Vx::UniString(text.substr(name))};
  return true;
}

}  // namespace

Vx::UniString FolderToHeader(const Vx::UniString& path) {
  Vx::UniString header(FolderPrefix);
  header.Append(path.GetView());
  return header;
}

Vx::UniString TimeToText(const ::IO::Attributes& attributes) {
  // Two parts that count in opposite directions become one number with a sign.
  __int64 seconds = attributes.modifiedSeconds;
  unsigned int fraction = attributes.modifiedNanoseconds;
  const bool negative = seconds < 0;
  if (negative && fraction > 0) {
    ++seconds;
    fraction = Billion - fraction;
  }
  const unsigned __int64 whole = negative ? 0ULL - static_cast<unsigned __int64>(seconds)
                                          : static_cast<unsigned __int64>(seconds);
  char text[40];
  std::snprintf(text, sizeof(text), "%s%llu.%09u", negative ? "-" : "", whole, fraction);
  return Vx::UniString(text, VxCharCodePlain);
}

Vx::UniString ModeToText(unsigned int mode) {
  char text[16];
  std::snprintf(text, sizeof(text), "0%03o", mode & ModeBits);
  return Vx::UniString(text, VxCharCodePlain);
}

Vx::UniString AccountToText(const Account& account) {
  Vx::UniString text = NumberToText(account.number);
  if (account.name.IsEmpty()) return text;
  text.Append(u' ');
  text.Append(account.name.GetView());
  return text;
}

Vx::UniString FolderToText(const Folder& folder) {
  Vx::UniString text = ModeToText(folder.mode);
  if (!folder.hasTime) return text;
  ::IO::Attributes times;
  times.modifiedSeconds = folder.modifiedSeconds;
  times.modifiedNanoseconds = folder.modifiedNanoseconds;
  text.Append(u' ');
  text.Append(TimeToText(times).GetView());
  if (!folder.hasOwners) return text;
  for (const Account* const account : {&folder.owner, &folder.group}) {
    text.Append(u' ');
    text.Append(NumberToText(account->number).GetView());
    text.Append(u':');
    // What would be taken for the end of the name is left to the number.
    if (!account->name.Contains(u' ')) text.Append(account->name.GetView());
  }
  return text;
}

bool TimeFromText(std::u16string_view text, ::IO::Attributes& attributes) {
  const std::string ascii = ToAscii(text);
  std::string_view rest = ascii;
  const bool negative = rest.starts_with('-');
  if (negative) rest.remove_prefix(1);
  __int64 seconds = 0;
  unsigned int fraction = 0;
  if (!TakeNumber(rest, seconds, 10) || !TakeDecimals(rest, fraction)) return false;
  if (negative) seconds = -seconds;
  if (negative && fraction > 0) {
    --seconds;
    fraction = Billion - fraction;
  }
  attributes.modifiedSeconds = seconds;
  attributes.modifiedNanoseconds = fraction;
  return true;
}

bool ModeFromText(std::u16string_view text, unsigned int& mode) {
  const std::string ascii = ToAscii(text);
  std::string_view rest = ascii;
  unsigned int value = 0;
  if (!TakeNumber(rest, value, 8) || !rest.empty() || value > ModeBits) return false;
  mode = value;
  return true;
}

bool AccountFromText(std::u16string_view text, Account& account) {
  return TakeAccount(text, u' ', account);
}

bool FolderFromText(std::u16string_view text, Folder& folder) {
  Folder result;
  if (!ModeFromText(TakeWord(text), result.mode)) return false;
  if (!text.empty()) {
    ::IO::Attributes times;
    if (!TimeFromText(TakeWord(text), times)) return false;
    result.hasTime = true;
    result.modifiedSeconds = times.modifiedSeconds;
    result.modifiedNanoseconds = times.modifiedNanoseconds;
  }
  if (!text.empty()) {
    if (!TakeAccount(TakeWord(text), u':', result.owner)) return false;
    if (!TakeAccount(TakeWord(text), u':', result.group) || !text.empty()) return false;
    result.hasOwners = true;
  }
  folder = std::move(result);
  return true;
}

}  // namespace Larkspan::Archive::TreeFacts
