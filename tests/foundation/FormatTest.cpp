#include <cfloat>
#include <cmath>
#include <cstdio>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include <climits>
#include <gtest/gtest.h>

#include "foundation/Vx/DebugOutput.h"
#include "foundation/Vx/UniString.h"

namespace {

using Vx::UniString;
using namespace std::string_literals;
using namespace std::string_view_literals;

template <class... Arguments>
std::string Format(const char* format, const Arguments&... arguments) {
  UniString text(u"old");
  text.Printf(format, arguments...);
  return text.ToUTF8();
}

template <class T>
std::string FormatInC(const char* format, T value) {
  char text[1000];
  std::snprintf(text, sizeof(text), format, value);
  return text;
}

std::vector<std::string> Split(const std::string& row) {
  std::vector<std::string> parts;
  std::istringstream stream(row);
  for (std::string part; std::getline(stream, part, '|');) parts.push_back(part);
  return parts;
}

// Every directive made of the parts, with every value of one type, must look as in C. Directives
// that don't are told once, with the first value.
template <class T>
void ExpectAsInC(const std::string& heads, const char* modifier, const std::string& conversions,
                 const std::vector<T>& values) {
  for (const std::string& head : Split(heads)) {
    for (const char conversion : conversions) {
      const std::string format = "<%" + head + modifier + conversion + ">";
      for (const T value : values) {
        const std::string shown = Format(format.c_str(), value);
        const std::string expected = FormatInC(format.c_str(), value);
        EXPECT_EQ(shown, expected) << format;
        if (shown != expected) break;
      }
    }
  }
}

template <class T>
void ExpectIntegersAsInC(const char* modifier) {
  const std::vector<T> values = {0,
                                 1,
                                 7,
                                 42,
                                 static_cast<T>(-1),
                                 std::numeric_limits<T>::min(),
                                 std::numeric_limits<T>::max()};
  const char* const heads = "|1|6|-6|06|-06|.3|8.3|-8.3|08.3|24|-24|.22|26.22|024|.0|8.|026.";
  if constexpr (std::is_signed_v<T>) {
    ExpectAsInC<T>(heads, modifier, "di", values);
    ExpectAsInC<T>("+| |+ |+06| 06|+.3|-+8|+08.3", modifier, "di", values);
  } else {
    ExpectAsInC<T>(heads, modifier, "uxXo", values);
    ExpectAsInC<T>("#|#8|#08|-#8|#.4|#08.4|#.0", modifier, "xXo", values);
  }
}

TEST(Printf, IntegersLookAsInC) {
  ExpectIntegersAsInC<signed char>("hh");
  ExpectIntegersAsInC<unsigned char>("hh");
  ExpectIntegersAsInC<short>("h");
  ExpectIntegersAsInC<unsigned short>("h");
  ExpectIntegersAsInC<int>("");
  ExpectIntegersAsInC<unsigned int>("");
  ExpectIntegersAsInC<long>("l");
  ExpectIntegersAsInC<unsigned long>("l");
  ExpectIntegersAsInC<long long>("ll");
  ExpectIntegersAsInC<unsigned long long>("ll");
}

TEST(Printf, FloatsLookAsInC) {
  std::vector<double> values = {DBL_MIN, DBL_MAX, DBL_TRUE_MIN, -DBL_MAX, NAN};
  const char* const row =
      "0|-0|1|-1|0.1|0.5|1.5|2.5|9.5|99.995|1e-5|1e-4|123456|1234567|999999.5|-123456.789|1e15|"
      "1e21|3.14159265358979|inf|-inf";
  for (const std::string& value : Split(row)) values.push_back(std::stod(value));
  ExpectAsInC<double>("|.0|.1|.3|.10|.20|12|-12|012|+| |+012|14.2|-14.2|014.2|-012|400.350", "",
                      "fFeEgG", values);
  EXPECT_EQ(Format("%f %g", 0.5F, 0.25L), "0.500000 0.25");
}

TEST(Printf, TextsLookAsInC) {
  for (const std::string& head : Split("|5|-5|.2|5.2|-5.2|.0|2|.9")) {
    const std::string format = "<%" + head + "s>";
    const std::string expected = FormatInC(format.c_str(), "abc");
    EXPECT_EQ(Format(format.c_str(), "abc"), expected);
    EXPECT_EQ(Format(format.c_str(), Vx::String("abc")), expected);
    EXPECT_EQ(Format(("<%" + head + "T>").c_str(), UniString(u"abc").ToPrintf()), expected);
  }
}

TEST(Printf, ArgumentsThatDoNotSuitTheirDirectiveAreShownSafely) {
  const char* const noBytes = nullptr;
  const Vx::UniChar* const noUnits = nullptr;
  const struct {
    std::string shown;
    const char* expected;
  } rows[] = {
      {Format("<%s>", noBytes), "<>"},
      {Format("<%T>", noUnits), "<>"},
      {Format("<%3s>", noBytes), "<   >"},
      {Format("%s", 42), "42"},
      {Format("%T", 7U), "7"},
      {Format("%d", 2.5), "2.5"},
      {Format("%x", "text"), "text"},
      {Format("%d", UniString(u"\u20AC")), "\xE2\x82\xAC"},
      {Format("%f", 7), "7"},
      {Format("%lld", 7), "7"},
      {Format("%d", 4000000000U), "4000000000"},
      {Format("%x", short{-1}), "ffff"},
      {Format("%c%c%c", 'a', u'\u20AC', 98),
       "a\xE2\x82\xAC"
       "b"},
      {Format("%d %d", 'a', u'\u20AC'), "97 8364"},
      {Format("%s", "caf\xE9"), "caf\xC3\xA9"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.shown, row.expected);
}

TEST(Printf, NumberOfArgumentsAndStrangeDirectives) {
  const struct {
    std::string shown;
    const char* expected;
  } rows[] = {
      {Format(""), ""},
      {Format(nullptr), ""},
      {Format("100%% %s", "sure"), "100% sure"},
      {Format("%d %d", 1), "1 %d"},
      {Format("%s%5.2s"), "%s%5.2s"},
      {Format("%d", 1, 2, "3"), "1"},
      {Format("%s|%s", "%d%n%s", "%"), "%d%n%s|%"},
      {Format("%T", UniString(u"%s%n")), "%s%n"},
      {Format("100%"), "100%"},
      {Format("%5", 1), "%5"},
      {Format("%n%d", 5), "%n5"},
      {Format("%*d", 5), "%*d"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.shown, row.expected);
  EXPECT_EQ(Format("%99999999999d", 1).size(), Format("%4096d", 1).size());
  EXPECT_EQ(Format("%.99999999999f", 0.0).size(), 4096U + 2);
}

TEST(Printf, TextIsAppendedAndMayBeItsOwnArgument) {
  UniString text(u"a\0b"sv);
  text.AppendPrintf("<%T>", text);
  EXPECT_EQ(text.GetView(), u"a\0b<a\0b>"sv);
  text.Printf("%T%T", text.GetView().substr(0, 1), text.GetBuffer());
  EXPECT_EQ(text, u"aa");
}

// The limits go through, what lies one beyond leaves the value and counts as not converted.
template <class T>
void ExpectLimits(const UniString& least, const UniString& below, const UniString& largest,
                  const UniString& above) {
  SCOPED_TRACE(largest.ToUTF8());
  T value = 77;
  EXPECT_EQ(least.Scanf("%d", &value), 1U);
  EXPECT_EQ(value, std::numeric_limits<T>::min());
  EXPECT_EQ(largest.Scanf("%d", &value), 1U);
  EXPECT_EQ(value, std::numeric_limits<T>::max());
  value = 77;
  for (const UniString& text : {below, above, UniString(u"99999999999999999999999")}) {
    EXPECT_EQ(text.Scanf("%d", &value), 0U) << text.ToUTF8();
    EXPECT_EQ(value, 77);
  }
}

TEST(Scanf, LimitsOfTheTypesHold) {
  constexpr auto leastOf64 = u"-9223372036854775808";
  ExpectLimits<signed char>(u"-128", u"-129", u"127", u"128");
  ExpectLimits<unsigned char>(u"0", u"-1", u"255", u"256");
  ExpectLimits<short>(u"-32768", u"-32769", u"32767", u"32768");
  ExpectLimits<unsigned short>(u"0", u"-1", u"65535", u"65536");
  ExpectLimits<int>(u"-2147483648", u"-2147483649", u"2147483647", u"2147483648");
  ExpectLimits<unsigned int>(u"0", u"-0", u"4294967295", u"4294967296");
  ExpectLimits<__int64>(leastOf64, u"-9223372036854775809", u"9223372036854775807",
                        u"9223372036854775808");
  ExpectLimits<unsigned __int64>(u"0", u"-1", u"18446744073709551615", u"18446744073709551616");
}

TEST(Scanf, FieldsAreReadAsFarAsTheTextMatches) {
  const struct {
    std::u16string_view text;
    const char* format;
    unsigned int count;
    int first;
    int second;
  } rows[] = {
      {u"1,2", "%d,%d", 2, 1, 2},
      {u"1 ,2", "%d,%d", 1, 1, -9},
      {u"1 \t, \n2", "%d , %d", 2, 1, 2},
      {u"  +7", "%d", 1, 7, -9},
      {u"\t\n\v\f\r-7", "%d", 1, -7, -9},
      {u"- 7", "%d", 0, -9, -9},
      {u"--7", "%d", 0, -9, -9},
      {u"+", "%d", 0, -9, -9},
      {u"007", "%i", 1, 7, -9},
      {u"0000000000000000000000000012", "%d", 1, 12, -9},
      {u"fF g", "%x", 1, 255, -9},
      {u"7fffffff", "%x", 1, 0x7FFFFFFF, -9},
      {u"5%6", "%d%%%d", 2, 5, 6},
      {u"5 6", "%d%%%d", 1, 5, -9},
      {u"99999999999 3", "%d%d", 0, -9, -9},
      {u"1 99999999999", "%d%d", 1, 1, -9},
      {u"1 2 3", "%lld%hd%d", 2, 1, 2},
      {u"1 2", "%d%s", 1, 1, -9},
      {u"1 2", "%d%l", 1, 1, -9},
      {u"\u0661", "%d", 0, -9, -9},
      {u"1\0002"sv, "%d%d", 1, 1, -9},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(UniString(row.text).ToUTF8() + " by " + row.format);
    int first = -9;
    int second = -9;
    EXPECT_EQ(UniString(row.text).Scanf(row.format, &first, &second), row.count);
    EXPECT_EQ(first, row.first);
    EXPECT_EQ(second, row.second);
  }
}

TEST(Scanf, WordsGoToTextsAndNothingElse) {
  UniString word(u"old");
  int number = 5;
  EXPECT_EQ(UniString(u" one 2").Scanf("%s %d", &word, &number), 2U);
  EXPECT_EQ(word, u"one");
  EXPECT_EQ(number, 2);
  EXPECT_EQ(UniString(u"12").Scanf("%d", &word), 0U);
  EXPECT_EQ(UniString(u"  ").Scanf("%s", &word), 0U);
  EXPECT_EQ(UniString(u"7").Scanf("%d", static_cast<int*>(nullptr)), 0U);
  EXPECT_EQ(UniString(u"7").Scanf("%d"), 0U);
  EXPECT_EQ(UniString(u"7").Scanf(nullptr, &number), 0U);
  EXPECT_EQ(word, u"one");
}

std::string collected;

TEST(DebugOutput, TheHostsSinkReceivesEachReportInOnePieceAndInUtf8) {
  collected.clear();
  const Vx::DebugSink before = Vx::SetDebugSink([](const char* bytes, std::size_t size) {
    collected += "[" + std::string(bytes, size) + "]";
  });
  DBPrintf("plain");
  DBPrintf("%d%% of %T", 50, UniString(u"\u20AC\xD800"));
  DBPrintf("%s", "100%s \xC3\xA9");
  DBPrintf("");
  EXPECT_NE(Vx::SetDebugSink(before), before);
  EXPECT_EQ(collected, "[plain][50% of \xE2\x82\xAC\xEF\xBF\xBD][100%s \xC3\xA9][]");
  testing::internal::CaptureStderr();
  DBPrintf("%s\n", "to standard error");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "to standard error\n");
}

}  // namespace
