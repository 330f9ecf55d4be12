#include "foundation/Vx/Scan.h"

#include <cstring>
#include <limits>

#include "foundation/Vx/UniString.h"

namespace Vx {
namespace {

bool IsBlank(char32_t unit) noexcept {
  return unit == ' ' || (unit >= '\t' && unit <= '\r');
}

void SkipBlanks(std::u16string_view& text) noexcept {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
}

// 0 to 15, or 16 for anything that is not a digit.
unsigned int GetDigit(char16_t unit) noexcept {
  if (unit >= u'0' && unit <= u'9') return unit - u'0';
  if (unit >= u'a' && unit <= u'f') return 10U + (unit - u'a');
  if (unit >= u'A' && unit <= u'F') return 10U + (unit - u'A');
  return 16;
}

// Takes digits off `text`; false if there is none or if the number passes `limit`.
bool ScanDigits(std::u16string_view& text, unsigned int base, unsigned __int64 limit,
                unsigned __int64& value) noexcept {
  value = 0;
  bool any = false;
  bool fits = true;
  for (; !text.empty() && GetDigit(text.front()) < base; text.remove_prefix(1)) {
    const unsigned int digit = GetDigit(text.front());
    any = true;
    fits = fits && value <= (limit - digit) / base;
    if (fits) value = value * base + digit;
  }
  return any && fits;
}

unsigned __int64 GetLargest(const ScanTarget& target) noexcept {
  const std::size_t bits = target.width * 8 - (target.isSigned ? 1 : 0);
  return std::numeric_limits<unsigned __int64>::max() >> (64 - bits);
}

template <class T>
void StoreAs(void* target, unsigned __int64 value) noexcept {
  const T narrow = static_cast<T>(value);
  std::memcpy(target, &narrow, sizeof(narrow));
}

void Store(const ScanTarget& target, unsigned __int64 value) noexcept {
  switch (target.width) {
    case 1:
      return StoreAs<unsigned char>(target.target, value);
    case 2:
      return StoreAs<unsigned short>(target.target, value);
    case 4:
      return StoreAs<unsigned int>(target.target, value);
    default:
      return StoreAs<unsigned __int64>(target.target, value);
  }
}

bool ScanInteger(std::u16string_view& text, unsigned int base, const ScanTarget& target) noexcept {
  SkipBlanks(text);
  bool negative = false;
  if (!text.empty() && (text.front() == u'+' || text.front() == u'-')) {
    negative = text.front() == u'-';
    text.remove_prefix(1);
  }
  if (negative && !target.isSigned) return false;
  const unsigned __int64 limit = GetLargest(target) + (negative ? 1 : 0);
  unsigned __int64 value = 0;
  if (!ScanDigits(text, base, limit, value)) return false;
  Store(target, negative ? 0 - value : value);
  return true;
}

bool ScanWord(std::u16string_view& text, const ScanTarget& target) {
  SkipBlanks(text);
  std::size_t length = 0;
  while (length < text.size() && !IsBlank(text[length])) ++length;
  if (length == 0) return false;
  static_cast<UniString*>(target.target)->Assign(text.substr(0, length));
  text.remove_prefix(length);
  return true;
}

bool ScanField(std::u16string_view& text, char conversion, const ScanTarget& target) {
  if (target.target == nullptr) return false;
  switch (conversion) {
    case 'd':
    case 'i':
    case 'u':
      return !target.isText && ScanInteger(text, 10, target);
    case 'x':
    case 'X':
      return !target.isText && ScanInteger(text, 16, target);
    case 's':
      return target.isText && ScanWord(text, target);
    default:
      return false;
  }
}

}  // namespace

unsigned int ScanText(std::u16string_view text, const char* format, const ScanTarget* targets,
                      std::size_t count) {
  unsigned int converted = 0;
  for (const char* next = format; next != nullptr && *next != 0; ++next) {
    if (IsBlank(static_cast<unsigned char>(*next))) {
      SkipBlanks(text);
      continue;
    }
    if (*next == '%' && next[1] != '%') {
      ++next;
      while (*next != 0 && std::strchr("hlLqjzt", *next) != nullptr) ++next;
      if (*next == 0 || converted == count) return converted;
      if (!ScanField(text, *next, targets[converted])) return converted;
      ++converted;
      continue;
    }
    if (*next == '%') ++next;
    if (text.empty() || text.front() != static_cast<unsigned char>(*next)) return converted;
    text.remove_prefix(1);
  }
  return converted;
}

}  // namespace Vx
