#include <cerrno>
#include <limits>

#include "foundation/Vx/UniString.h"
#include "fuzz/Target.h"

namespace {

using Vx::UniString;

// What C's conversion makes of the text: whether it converts, and the value.
template <class T>
bool ConvertInC(const std::string& text, T& value) {
  const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
  if (start == std::string::npos) return false;
  if (std::is_unsigned_v<T> && text[start] == '-') return false;
  char* end = nullptr;
  errno = 0;
  if constexpr (std::is_signed_v<T>) {
    const long long wide = std::strtoll(text.c_str(), &end, 10);
    value = static_cast<T>(wide);
    return end != text.c_str() && errno == 0 && wide == value;
  } else {
    const unsigned long long wide = std::strtoull(text.c_str(), &end, 10);
    value = static_cast<T>(wide);
    return end != text.c_str() && errno == 0 && wide == value;
  }
}

template <class... T>
void CheckNumbers(const UniString& text, const std::string& bytes) {
  const auto check = [&]<class Number>(Number expected) {
    Number value = 77;
    const bool converted = text.Scanf("%d", &value) == 1;
    Fuzz::Require(converted == ConvertInC(bytes, expected), "a number is read where C reads one");
    Fuzz::Require(value == (converted ? expected : 77), "the number is that of C");
  };
  (check(T{}), ...);
}

}  // namespace

/// Formats and texts: numbers are read as C reads them, and no format does harm, whatever the
/// arguments. A zero byte parts the format from the text.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = Fuzz::ToView(data, size);
  const std::string bytes(input.substr(0, input.find('\0')));
  const std::string_view rest = input.substr(std::min(bytes.size() + 1, input.size()));
  UniString text;
  text.Assign(bytes, VxCharCodePlain);
  CheckNumbers<signed char, unsigned char, short, unsigned short, int, unsigned int, __int64,
               unsigned __int64>(text, bytes);

  UniString other;
  other.Assign(rest, VxCharCodePlain);
  short first = 0;
  UniString word;
  unsigned __int64 last = 0;
  Fuzz::Require(other.Scanf(bytes.c_str(), &first, &word, &last) <= 3, "no field counts twice");

  UniString shown;
  shown.Printf(bytes.c_str(), -1, other, 2.5e300, bytes.c_str(), 'c', u'u', rest);
  UniString plain;
  plain.Printf("%s", bytes.c_str());
  Fuzz::Require(plain == text, "an argument is no format");
  return 0;
}
