#include <cfloat>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/Vx/UniString.h"

namespace {

using Vx::UniString;

template <class... Arguments>
std::string Format(const char* format, const Arguments&... arguments) {
  UniString text;
  text.Printf(format, arguments...);
  return text.ToUTF8();
}

// Every directive made of a head, the modifier and a conversion must show every value as in C.
template <class T>
void ExpectAsInC(const std::vector<std::string>& heads, const char* modifier,
                 const std::string& conversions, const std::vector<T>& values) {
  for (const std::string& head : heads) {
    for (const char conversion : conversions) {
      const std::string format = "<%" + head + modifier + conversion + ">";
      for (const T value : values) {
        char expected[1000];
        std::snprintf(expected, sizeof(expected), format.c_str(), value);
        EXPECT_EQ(Format(format.c_str(), value), expected) << format;
      }
    }
  }
}

template <class T>
void ExpectIntegers(const char* modifier) {
  using Limits = std::numeric_limits<T>;
  const std::vector<T> values = {0, 1, 42, static_cast<T>(-1), Limits::min(), Limits::max()};
  // Unsigned values take no sign from `+` and blank.
  ExpectAsInC<T>({"", "1", "24", "-6", "06", "-06", ".3", "8.3", "-8.3", "08.3", ".22", "026.", "+",
                  " ", "+ ", "+06", " 06", "+.3", "-+8"},
                 modifier, std::is_signed_v<T> ? "di" : "u", values);
  if constexpr (std::is_unsigned_v<T>) {
    ExpectAsInC<T>({"", "-6", "06", "08.3", "#", "#8", "#08", "-#8", "#.4", "#08.4", "#.0"},
                   modifier, "xXo", values);
  }
}

TEST(Printf, NumbersAndTextsLookAsInC) {
  ExpectIntegers<signed char>("hh");
  ExpectIntegers<unsigned char>("hh");
  ExpectIntegers<int>("");
  ExpectIntegers<unsigned int>("");
  ExpectIntegers<__int64>("l");
  ExpectIntegers<unsigned __int64>("l");
  ExpectAsInC<double>({"", ".0", ".1", ".20", "12", "-12", "012", "+", " ", "+012", "14.2", "-14.2",
                       "014.2", "400.350"},
                      "", "fFeEgG",
                      {0, -0.0, 0.1, 0.5, 1.5, 2.5, 99.995, 1e-5, 1e-4, 123456, 1234567, 999999.5,
                       -1e21, DBL_MIN, DBL_MAX, DBL_TRUE_MIN, NAN, HUGE_VAL, -HUGE_VAL});
  ExpectAsInC<const char*>({"", "5", "-5", ".2", "5.2", "-5.2", ".0", ".9"}, "", "s", {"abc", ""});
}

}  // namespace
