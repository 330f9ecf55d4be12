#include <cfloat>
#include <cmath>
#include <cstdio>
#include <limits>
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

// Every directive made of the parts, with every value of one type, as C shows it.
template <class T>
void ExpectAsInC(const std::vector<const char*>& heads, const char* modifier,
                 const std::string& conversions, const std::vector<T>& values) {
  for (const char* head : heads) {
    for (const char conversion : conversions) {
      const std::string format = "<%"s + head + modifier + conversion + ">";
      for (const T value : values) {
        EXPECT_EQ(Format(format.c_str(), value), FormatInC(format.c_str(), value))
            << format << " with " << +value;
      }
    }
  }
}

template <class T>
std::vector<T> EdgeValues() {
  using Limits = std::numeric_limits<T>;
  return {0, 1, 7, 42, static_cast<T>(-1), Limits::min(), Limits::max()};
}

TEST(Printf, IntegersLookAsInC) {
  const std::vector<const char*> heads = {"",    "1",     "6",    "-6",   "06", "-06",
                                          ".3",  "8.3",   "-8.3", "08.3", "24", "-24",
                                          ".22", "26.22", "024",  ".0",   "8.", "026."};
  const std::vector<const char*> signs = {"+", " ", "+ ", "+06", " 06", "+.3", "-+8", "+08.3"};
  const std::vector<const char*> prefixes = {"#", "#8", "#08", "-#8", "#.4", "#08.4", "#.0"};
  const auto expect = [&]<class T>(T, const char* modifier) {
    if constexpr (std::is_signed_v<T>) {
      ExpectAsInC<T>(heads, modifier, "di", EdgeValues<T>());
      ExpectAsInC<T>(signs, modifier, "di", EdgeValues<T>());
    } else {
      ExpectAsInC<T>(heads, modifier, "uxXo", EdgeValues<T>());
      ExpectAsInC<T>(prefixes, modifier, "xXo", EdgeValues<T>());
    }
  };
  expect(static_cast<signed char>(0), "hh");
  expect(static_cast<unsigned char>(0), "hh");
  expect(short{0}, "h");
  expect(static_cast<unsigned short>(0), "h");
  expect(0, "");
  expect(0U, "");
  expect(0L, "l");
  expect(0UL, "l");
  expect(0LL, "ll");
  expect(0ULL, "ll");
}

TEST(Printf, FloatsLookAsInC) {
  const std::vector<const char*> heads = {"",      ".0",  ".1",  ".3",   ".10",    ".20",  "12",
                                          "-12",   "012", "+",   " ",    "+012",   "14.2", "-14.2",
                                          "014.2", "#",   "#.0", "-012", "400.350"};
  const std::vector<double> values = {0,
                                      -0.0,
                                      1,
                                      -1,
                                      0.1,
                                      0.5,
                                      1.5,
                                      2.5,
                                      9.5,
                                      99.995,
                                      1e-5,
                                      1e-4,
                                      123456,
                                      1234567,
                                      999999.5,
                                      -123456.789,
                                      1e15,
                                      1e21,
                                      DBL_MIN,
                                      DBL_MAX,
                                      DBL_TRUE_MIN,
                                      -DBL_MAX,
                                      INFINITY,
                                      -INFINITY,
                                      NAN,
                                      3.14159265358979};
  ExpectAsInC<double>(heads, "", "fFeEgG", values);
  EXPECT_EQ(Format("%f %g", 0.5F, 0.25L), "0.500000 0.25");
}

TEST(Printf, TextsLookAsInC) {
  const char* const heads[] = {"", "5", "-5", ".2", "5.2", "-5.2", ".0", "2", ".9"};
  for (const char* head : heads) {
    const std::string format = "<%"s + head + "s>";
    const std::string expected = FormatInC(format.c_str(), "abc");
    EXPECT_EQ(Format(format.c_str(), "abc"), expected) << format;
    EXPECT_EQ(Format(format.c_str(), "abc"sv), expected) << format;
    EXPECT_EQ(Format(format.c_str(), Vx::String("abc")), expected) << format;
    EXPECT_EQ(Format(format.c_str(), u"abc"), expected) << format;
    const std::string unicode = "<%"s + head + "T>";
    EXPECT_EQ(Format(unicode.c_str(), UniString(u"abc").ToPrintf()), expected) << format;
    EXPECT_EQ(Format(unicode.c_str(), UniString(u"abc")), expected) << format;
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
      {Format("%s", -1LL), "-1"},
      {Format("%T", 7U), "7"},
      {Format("%s", 2.5), "2.5"},
      {Format("%d", 2.5), "2.5"},
      {Format("%x", "text"), "text"},
      {Format("%d", UniString(u"\u20AC")), "\xE2\x82\xAC"},
      {Format("%f", 7), "7"},
      {Format("%lld", 7), "7"},
      {Format("%hhd", 1234567890123LL), "1234567890123"},
      {Format("%d", 4000000000U), "4000000000"},
      {Format("%x", short{-1}), "ffff"},
      {Format("%c%c%c", 'a', u'\u20AC', 98),
       "a\xE2\x82\xAC"
       "b"},
      {Format("%d %d", 'a', u'\u20AC'), "97 8364"},
      {Format("%s", 'a'), "a"},
      {Format("%d", true), "1"},
      {Format("%s", "caf\xE9"), "caf\xC3\xA9"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.shown, row.expected);
}

TEST(Printf, NumberOfArgumentsAndStrangeDirectives) {
  const struct {
    std::string shown;
    const char* expected;
  } rows[] = {
      {Format("plain"), "plain"},
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
      {Format("%l", 1), "%l"},
      {Format("%n%d", 5), "%n5"},
      {Format("%*d", 5), "%*d"},
      {Format("%y %d", 5), "%y 5"},
      {Format("caf\xE9"), "caf\xC3\xA9"},
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
  bool flag = false;
  EXPECT_EQ(UniString(u"2").Scanf("%d", &flag), 0U);
  EXPECT_EQ(UniString(u"1").Scanf("%d", &flag), 1U);
  EXPECT_TRUE(flag);
}

TEST(Scanf, FieldsAreReadAsFarAsTheTextMatches) {
  const struct {
    std::u16string_view text;
    const char* format;
    unsigned int count;
    int first;
    int second;
  } rows[] = {
      {u"1 2", "%d%d", 2, 1, 2},
      {u"1,2", "%d,%d", 2, 1, 2},
      {u"1 ,2", "%d,%d", 1, 1, -9},
      {u"1 \t, \n2", "%d , %d", 2, 1, 2},
      {u"  +7", "%d", 1, 7, -9},
      {u"\t\n\v\f\r-7", "%d", 1, -7, -9},
      {u"- 7", "%d", 0, -9, -9},
      {u"+-7", "%d", 0, -9, -9},
      {u"--7", "%d", 0, -9, -9},
      {u"+", "%d", 0, -9, -9},
      {u"", "%d", 0, -9, -9},
      {u"   ", "%d", 0, -9, -9},
      {u"x1", "%d", 0, -9, -9},
      {u"007", "%i", 1, 7, -9},
      {u"0000000000000000000000000012", "%d", 1, 12, -9},
      {u"12abc", "%d", 1, 12, -9},
      {u"12.5", "%d.%d", 2, 12, 5},
      {u"fF g", "%x", 1, 255, -9},
      {u"7fffffff", "%x", 1, 0x7FFFFFFF, -9},
      {u"80000000", "%x", 0, -9, -9},
      {u"5%6", "%d%%%d", 2, 5, 6},
      {u"5 6", "%d%%%d", 1, 5, -9},
      {u"99999999999 3", "%d%d", 0, -9, -9},
      {u"1 99999999999", "%d%d", 1, 1, -9},
      {u"1 2 3", "%lld%hd%d", 2, 1, 2},
      {u"1 2", "%d%s", 1, 1, -9},
      {u"1 2", "%d%", 1, 1, -9},
      {u"1 2", "%d%l", 1, 1, -9},
      {u"1 2", "%q%d", 0, -9, -9},
      {u"\u0661", "%d", 0, -9, -9},
      {u"1\0002"sv, "%d%d", 1, 1, -9},
      {u"\u00A01", "%d", 0, -9, -9},
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
