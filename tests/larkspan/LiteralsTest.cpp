#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/Boolean.h"
#include "Larkspan/Common/Integer16.h"
#include "Larkspan/Common/Integer32.h"
#include "Larkspan/Common/Integer64.h"
#include "Larkspan/Common/UnsignedInteger16.h"
#include "Larkspan/Common/UnsignedInteger32.h"
#include "Larkspan/Common/UnsignedInteger64.h"
#include "tests/support/FailureOf.h"

using namespace Larkspan::Common;

template <class Class, class T>
static void CheckIntegers(const std::string& type, const std::string& bits) {
  T kept = 5;
  for (const T value : {std::numeric_limits<T>::min(), std::numeric_limits<T>::max()}) {
    std::string text = std::to_string(value);
    EXPECT_EQ(Class::ToString(value).ToUTF8(), text);
    EXPECT_EQ(Class::Parse(Vx::UniString::FromUTF8(" \t" + text + "x")), value);
    // No limit ends in 9: the next digit is the first number beyond.
    if (text == "0") text = "-0";
    ++text.back();
    EXPECT_FALSE(Class::Parse(Vx::UniString::FromUTF8(text), kept)) << text;
    EXPECT_EQ(kept, 5) << text;
  }
  EXPECT_EQ(Tests::FailureOf([&] { return Class::Parse(u"", kept); }),
            "IllegalArgumentException: Invalid " + type + " literal: literal is empty.");
  EXPECT_EQ(Tests::FailureOf([] { return Class::Parse(u"x1"); }),
            "ConversionErrorException: Failed to parse literal as " + type + bits + " value.");
}

TEST(Literals, AreReadWithinTheirLimitsAndRefusedBeyond) {
  CheckIntegers<Integer16, short>("integer", "16");
  CheckIntegers<Integer32, int>("integer", "32");
  CheckIntegers<Integer64, __int64>("integer", "64");
  CheckIntegers<UnsignedInteger16, unsigned short>("unsigned integer", "16");
  CheckIntegers<UnsignedInteger32, unsigned int>("unsigned integer", "32");
  CheckIntegers<UnsignedInteger64, unsigned __int64>("unsigned integer", "64");
  EXPECT_EQ(Integer64::ToHexString(-1), u"ffffffffffffffff");
  EXPECT_EQ(UnsignedInteger64::ToHexString(1ULL << 63U), u"8000000000000000");
  bool kept = true;
  for (const auto* text : {u"TRUE", u" true", u"1"}) EXPECT_FALSE(Boolean::Parse(text, kept));
  EXPECT_TRUE(kept);
  EXPECT_TRUE(Boolean::Parse(u"false", kept));
  EXPECT_FALSE(kept);
}
