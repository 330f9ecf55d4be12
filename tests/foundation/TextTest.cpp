#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "foundation/Vx/ConversionErrorException.h"
#include "foundation/Vx/IllegalArgumentException.h"
#include "foundation/Vx/SipHash.h"
#include "foundation/Vx/UniString.h"
#include "tests/support/SeededRandom.h"

namespace {

using Vx::UniString;
using namespace std::string_view_literals;

std::string Encode(const UniString& text, VxCharCode code,
                   OnConversionError onError = OnConversionErrorFail) {
  return std::string(text.ToBytes(0, Vx::ToEnd, code, onError).GetView());
}

// By characters, the surrogate pair of the alphabet would stand behind U+FFFF.
std::u16string RandomText(Tests::SeededRandom& random, unsigned int limit) {
  constexpr std::u16string_view alphabet = u"\xD83D\xDE00\xFFFF";
  std::u16string text(random.Below(limit), u'\0');
  for (char16_t& unit : text) unit = alphabet[random.Below(alphabet.size())];
  return text;
}

void ChangeBoth(Tests::SeededRandom& random, UniString& text, std::u16string& model) {
  const std::u16string other = RandomText(random, 6);
  const std::u16string with = RandomText(random, 4);
  const unsigned int start = random.Below(40);
  const unsigned int count = random.Below(5) == 0 ? Vx::ToEnd : random.Below(40);
  const unsigned int choice = random.Below(3);
  if (choice == 0) {
    text.Append(text.GetView());
    text.Printf("%T%T", text, UniString(other));
    model += model + other;
  } else if (choice == 1) {
    text.ReplaceAll(other, with);
    std::size_t at = other.empty() ? model.npos : model.find(other);
    for (; at != model.npos; at = model.find(other, at + with.size())) {
      model.replace(at, other.size(), with);
    }
  } else {
    text = text.GetSubstring(start, count);
    model = start < model.size() ? model.substr(start, count) : std::u16string();
  }
}

TEST(UniString, BehavesAsAStandardStringUnderRandomOperations) {
  Tests::SeededRandom random;
  UniString text;
  std::u16string model;
  for (int step = 0; step < 20000; ++step) {
    ChangeBoth(random, text, model);
    if (model.size() > 200) {
      model = RandomText(random, 20);
      text.Assign(model);
    }
    ASSERT_EQ(text.GetView(), model);
    ASSERT_EQ(text.GetBuffer()[text.GetLength()], 0);
    const std::u16string other = RandomText(random, 5);
    const unsigned int start = random.Below(model.size() + 9);
    const std::size_t found = model.find(other, std::min<std::size_t>(start, model.size()));
    ASSERT_EQ(text.FindFirst(other, start), static_cast<unsigned int>(found));
    ASSERT_EQ(text <=> UniString(other), model <=> other);
    ASSERT_EQ(text.GenerateHashValue(), UniString(model).GenerateHashValue());
  }
}

TEST(Encoding, PublishedTextsHaveTheirPublishedBytes) {
  const struct {
    VxCharCode code;
    std::u16string_view text;
    std::string_view bytes;
  } rows[] = {
      {VxCharCodePlain, u"caf\u00E9\u0080\u00FF\0"sv, "caf\xE9\x80\xFF\0"sv},
      // RFC 3629, sections 7 and 3: the ends of the ranges.
      {VxCharCodeDebug, u"A\u2262\u0391.", "A\xE2\x89\xA2\xCE\x91."},
      {VxCharCodeDebug, u"\uFEFF\U000233B4", "\xEF\xBB\xBF\xF0\xA3\x8E\xB4"},
      {VxCharCodeDebug, u"\u007F\u0080\u07FF\u0800", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80"},
      {VxCharCodeDebug, u"\0\U00010000\U0010FFFF"sv, "\0\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"sv},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Encode(UniString(row.text), row.code), row.bytes);
    UniString decoded(u"old");
    decoded.Assign(row.bytes, row.code);
    EXPECT_EQ(decoded.GetView(), row.text);
  }
  for (const char* bytes : {"\xF4\x90\x80\x80", "\xE0\x80\xAF", "\xC3(", "\xE2\x89"}) {
    UniString text(u"old");
    EXPECT_THROW(text.Append(bytes, VxCharCodeDebug), Vx::ConversionErrorException) << bytes;
    EXPECT_THROW(text.Assign(bytes, VxCharCodeUTF), Vx::ConversionErrorException) << bytes;
    EXPECT_EQ(text, u"old");
  }
  EXPECT_EQ(UniString("\xF4\x8F\xBF\xBF", VxCharCodeUTF), u"\U0010FFFF");
  EXPECT_EQ(UniString(u"\xD800z\xDC00").ToUTF8(), "\xEF\xBF\xBDz\xEF\xBF\xBD");
  EXPECT_THROW(Encode(u"a\u0100", VxCharCodePlain), Vx::ConversionErrorException);
  EXPECT_EQ(Encode(u"a\u0100\u20ACz", VxCharCodePlain, OnConversionErrorReplace), "a??z");
  EXPECT_THROW(Encode(u"a", static_cast<VxCharCode>(12)), Vx::IllegalArgumentException);
}

TEST(Hash, SipHashGivesItsKnownValues) {
  // Of Python's `hash(bytes)` with PYTHONHASHSEED=0, where the key is zero.
  EXPECT_EQ(Vx::SipHash::Hash({0, 0}, "a", 1), 0x407448d2b89b1813U);
  EXPECT_EQ(Vx::SipHash::Hash({0, 0}, "abcdefghijklmno", 15), 0x1fd27a29b0e9dc7aU);
}

}  // namespace
