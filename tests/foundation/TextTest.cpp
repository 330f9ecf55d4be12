#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/Vx/ConversionErrorException.h"
#include "foundation/Vx/IllegalArgumentException.h"
#include "foundation/Vx/OutOfMemoryException.h"
#include "foundation/Vx/SipHash.h"
#include "foundation/Vx/UniString.h"
#include "tests/support/AllocationFault.h"

namespace {

using Larkspan::Testing::AllocationFault;
using Vx::UniChar;
using Vx::UniString;
using namespace std::string_literals;
using namespace std::string_view_literals;

std::string Encode(const UniString& text, VxCharCode code,
                   OnConversionError onError = OnConversionErrorFail) {
  return std::string(text.ToBytes(0, Vx::ToEnd, code, onError).GetView());
}

// Units at which the encodings change their form.
constexpr UniChar EdgeUnits[] = {0,      1,      '%',    0x7F,   0x80,   0xFF,
                                 0x100,  0x7FF,  0x800,  0xD7FF, 0xD800, 0xDBFF,
                                 0xDC00, 0xDFFF, 0xE000, 0xFEFF, 0xFFFD, 0xFFFF};

struct Random : std::mt19937 {
  using std::mt19937::mt19937;
  unsigned int Below(unsigned int limit) { return static_cast<unsigned int>((*this)() % limit); }
  std::u16string Text(unsigned int limit) {
    std::u16string text(Below(limit), u'\0');
    for (char16_t& unit : text) unit = static_cast<char16_t>(u'a' + Below(3));
    return text;
  }
};

unsigned int ToIndex(std::size_t position) {
  return position == std::u16string::npos ? Vx::NotFound : static_cast<unsigned int>(position);
}

std::u16string Replaced(const std::u16string& text, const std::u16string& from,
                        const std::u16string& to) {
  std::u16string result;
  for (std::size_t index = 0; index < text.size();) {
    const bool found = !from.empty() && text.compare(index, from.size(), from) == 0;
    result += found ? to : text.substr(index, 1);
    index += found ? from.size() : 1;
  }
  return result;
}

void ChangeBoth(Random& random, UniString& text, std::u16string& model) {
  const std::u16string other = random.Text(6);
  const std::u16string with = random.Text(4);
  const unsigned int start = random.Below(40);
  const unsigned int count = random.Below(5) == 0 ? Vx::ToEnd : random.Below(40);
  switch (random.Below(6)) {
    case 0:
      text.Append(other);
      model += other;
      break;
    case 1:
      text.Append(text.GetView());
      model += std::u16string(model);
      break;
    case 2:
      text.ReplaceAll(other, with);
      model = Replaced(model, other, with);
      break;
    case 3:
      text.ReplaceAll(u'a', u'c');
      std::replace(model.begin(), model.end(), u'a', u'c');
      break;
    case 4:
      text = text.GetSubstring(start, count);
      model = start < model.size() ? model.substr(start, count) : std::u16string();
      break;
    default:
      text.Printf("%T%T", text, UniString(other));
      model += other;
  }
}

TEST(UniString, BehavesAsAStandardStringUnderRandomOperations) {
  for (unsigned int seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Random random(seed);
    UniString text;
    std::u16string model;
    for (int step = 0; step < 1000; ++step) {
      ChangeBoth(random, text, model);
      if (model.size() > 200) text.Assign(model = random.Text(20));
      const std::u16string other = random.Text(5);
      const unsigned int start = random.Below(static_cast<unsigned int>(model.size()) + 1);
      ASSERT_EQ(text.GetView(), model) << "step " << step;
      ASSERT_EQ(text.GetBuffer()[text.GetLength()], 0);
      ASSERT_EQ(text.FindFirst(other, start), ToIndex(model.find(other, start)));
      ASSERT_EQ(text.Contains(u'c'), model.find(u'c') != std::u16string::npos);
      ASSERT_EQ(text == UniString(other), model == other);
      ASSERT_EQ(text < UniString(other), model < other);
      ASSERT_EQ(text.GenerateHashValue(), UniString(model).GenerateHashValue());
    }
  }
}

TEST(UniString, NullTextCountsAsEmpty) {
  const UniChar* const units = nullptr;
  const char* const bytes = nullptr;
  EXPECT_TRUE(UniString(units).IsEmpty());
  EXPECT_TRUE(UniString(bytes, VxCharCodePlain).IsEmpty());
  EXPECT_TRUE(Vx::String(bytes).IsEmpty());
  EXPECT_TRUE(UniString() == units);
}

TEST(UniString, OrderIsThatOfTheUnits) {
  // By characters, the surrogate pair would stand behind U+FFFF.
  EXPECT_LT(UniString(u"\xD83D\xDE00"), UniString(u"\xFFFF"));
  EXPECT_LT(UniString(u"a"), UniString(u"a\0"sv));
  EXPECT_LT(Vx::String("a\x7F"), Vx::String("a\x80"));
}

TEST(UniString, RunningOutOfMemoryLeavesTheTextAsItWas) {
  const std::u16string before(100, u'%');
  const struct {
    const char* name;
    void (*change)(UniString&, const std::string&, const std::u16string&);
  } rows[] = {
      {"assign", [](UniString& t, auto&, auto& units) { t.Assign(units); }},
      {"append", [](UniString& t, auto&, auto& units) { t.Append(units); }},
      {"decode", [](UniString& t, auto& bytes, auto&) { t.Assign(bytes, VxCharCodeUTF); }},
      {"replace", [](UniString& t, auto&, auto& units) { t.ReplaceAll(u"%"sv, units); }},
      {"format", [](UniString& t, auto& bytes, auto&) { t.Printf("%3000d%s%T", 1, bytes, t); }},
      {"encode",
       [](UniString& t, auto&, auto&) {
         EXPECT_TRUE(t.ToCStr(0, Vx::ToEnd, VxCharCodeUTF, OnConversionErrorFail));
       }},
  };
  for (const auto& row : rows) {
    for (int n = 1;; ++n) {
      SCOPED_TRACE(row.name + (" " + std::to_string(n)));
      UniString text(before);
      const AllocationFault fault(n);
      try {
        row.change(text, std::string(2000, 'x'), std::u16string(2000, u'y'));
      } catch (const Vx::OutOfMemoryException&) {
        EXPECT_EQ(text.GetView(), before);
      }
      if (!fault.HasFired()) {
        EXPECT_GT(n, 1) << "no allocation was seen";
        break;
      }
      ASSERT_LT(n, 500);
    }
  }
}

TEST(Encoding, PublishedTextsHaveTheirPublishedBytes) {
  const struct {
    std::u16string_view text;
    std::string_view bytes;
    std::vector<VxCharCode> codes;
  } rows[] = {
      {u"", "", {VxCharCodePlain, VxCharCodeDebug, VxCharCodeUTF}},
      {u"a~", "a~", {VxCharCodePlain, VxCharCodeDebug, VxCharCodeUTF}},
      {u"caf\u00E9\u0080\u00FF", "caf\xE9\x80\xFF", {VxCharCodePlain}},
      {u"\0a"sv, "\0a"sv, {VxCharCodePlain, VxCharCodeDebug}},
      // RFC 3629, section 7.
      {u"A\u2262\u0391.", "A\xE2\x89\xA2\xCE\x91.", {VxCharCodeDebug, VxCharCodeUTF}},
      {u"\uD55C\uAD6D\uC5B4",
       "\xED\x95\x9C\xEA\xB5\xAD\xEC\x96\xB4",
       {VxCharCodeDebug, VxCharCodeUTF}},
      {u"\uFEFF\U000233B4", "\xEF\xBB\xBF\xF0\xA3\x8E\xB4", {VxCharCodeDebug}},
      // RFC 3629, section 3: the ends of the ranges.
      {u"\u007F\u0080\u07FF\u0800\uFFFF",
       "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF",
       {VxCharCodeDebug, VxCharCodeUTF}},
      {u"\U00010000\U0010FFFF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", {VxCharCodeDebug}},
      // java.io.DataInput, "Modified UTF-8".
      {u"\0"sv, "\xC0\x80", {VxCharCodeUTF}},
      {u"\U00010400", "\xED\xA0\x81\xED\xB0\x80", {VxCharCodeUTF}},
      {u"\xD800\xD800z", "\xED\xA0\x80\xED\xA0\x80z", {VxCharCodeUTF}},
      {u"\xDFFF\xDBFF", "\xED\xBF\xBF\xED\xAF\xBF", {VxCharCodeUTF}},
  };
  for (const auto& row : rows) {
    for (const VxCharCode code : row.codes) {
      SCOPED_TRACE(testing::PrintToString(row.bytes) + " in " + std::to_string(code));
      EXPECT_EQ(Encode(UniString(row.text), code), row.bytes);
      UniString decoded(u"old");
      decoded.Assign(row.bytes, code);
      EXPECT_EQ(decoded.GetView(), row.text);
    }
  }
}

TEST(Encoding, MalformedBytesAreRefusedAndLeaveTheTextAsItWas) {
  constexpr bool JavaToo = true;
  const struct {
    const char* name;
    std::string_view bytes;
    bool inJava;
  } rows[] = {
      {"stray tail", "\x80", JavaToo},
      {"lead alone", "\xC3", JavaToo},
      {"two of three", "\xE2\x89", JavaToo},
      {"three of four", "\xF0\xA3\x8E", JavaToo},
      {"lead after lead", "\xC3\xC3\xA9", JavaToo},
      {"ASCII for a tail", "\xE2\x89y", JavaToo},
      {"overlong slash, two bytes", "\xC0\xAF", JavaToo},
      {"overlong slash, three bytes", "\xE0\x80\xAF", JavaToo},
      {"overlong slash, four bytes", "\xF0\x80\x80\xAF", JavaToo},
      {"overlong U+FFFF", "\xF0\x8F\xBF\xBF", JavaToo},
      {"overlong zero, two bytes", "\xC0\x80", false},
      {"first behind U+10FFFF", "\xF4\x90\x80\x80", JavaToo},
      {"five bytes", "\xF8\x88\x80\x80\x80", JavaToo},
      {"six bytes", "\xFC\x84\x80\x80\x80\x80", JavaToo},
      {"FF", "\xFF", JavaToo},
      {"lone high surrogate", "\xED\xA0\x80", false},
      {"lone low surrogate", "\xED\xBF\xBF", false},
      {"pair of surrogates", "\xED\xA0\x81\xED\xB0\x80", false},
  };
  for (const auto& row : rows) {
    for (const VxCharCode code : {VxCharCodeDebug, VxCharCodeUTF}) {
      SCOPED_TRACE(row.name + (" in " + std::to_string(code)));
      const std::string bytes = "good" + std::string(row.bytes);
      UniString text(u"old");
      if (code == VxCharCodeUTF && !row.inJava) {
        EXPECT_NO_THROW(text.Assign(bytes, code));
        continue;
      }
      EXPECT_THROW(text.Assign(bytes, code), Vx::ConversionErrorException);
      EXPECT_THROW(text.Append(bytes, code), Vx::ConversionErrorException);
      EXPECT_EQ(text, u"old");
    }
  }
}

TEST(Encoding, EverySequenceOfUnitsComesBackThroughTheModifiedForm) {
  std::u16string all;
  for (unsigned int unit = 0; unit <= 0xFFFF; ++unit) all += static_cast<char16_t>(unit);
  std::vector<std::u16string> texts = {all};
  for (const char16_t first : EdgeUnits) {
    for (const char16_t second : EdgeUnits) texts.push_back({first, second});
  }
  Random random(1);
  for (int count = 0; count < 1000; ++count) {
    texts.emplace_back(random.Below(30), u'\0');
    for (char16_t& unit : texts.back()) unit = EdgeUnits[random.Below(std::size(EdgeUnits))];
  }
  for (const std::u16string& text : texts) {
    const std::string bytes = Encode(UniString(text), VxCharCodeUTF);
    EXPECT_EQ(bytes.find('\0'), std::string::npos);
    UniString back;
    back.Assign(bytes, VxCharCodeUTF);
    ASSERT_EQ(back.GetView(), text);
  }
}

TEST(Encoding, WhatAnEncodingDoesNotHaveIsReplacedRefusedOrTakenOver) {
  EXPECT_EQ(UniString("\xF0\x90\x90\x80\xF4\x8F\xBF\xBF", VxCharCodeUTF), u"\U00010400\U0010FFFF");
  EXPECT_EQ(UniString(u"a\xD800z\xDC00\xD800\xDC00\xDBFF").ToUTF8(),
            "a\xEF\xBF\xBDz\xEF\xBF\xBD\xF0\x90\x80\x80\xEF\xBF\xBD");
  EXPECT_THROW(Encode(u"a\u0100", VxCharCodePlain), Vx::ConversionErrorException);
  EXPECT_EQ(Encode(u"a\u0100\u20ACz", VxCharCodePlain, OnConversionErrorReplace), "a??z");
  const auto unknown = static_cast<VxCharCode>(12);
  UniString text(u"old");
  EXPECT_THROW(Encode(text, unknown), Vx::IllegalArgumentException);
  EXPECT_THROW(text.Assign("new", unknown), Vx::IllegalArgumentException);
  EXPECT_EQ(text, u"old");
}

TEST(Encoding, PartsOfATextBecomeByteTexts) {
  const UniString text(u"na\u00EFve");
  const auto part = [&text](unsigned int start, unsigned int count) {
    return std::string(text.ToCStr(start, count, VxCharCodePlain, OnConversionErrorFail).get());
  };
  EXPECT_EQ(part(0, Vx::ToEnd),
            "na\xEF"
            "ve");
  EXPECT_EQ(part(2, 1), "\xEF");
  EXPECT_EQ(part(3, Vx::ToEnd - 1), "ve");
  EXPECT_EQ(part(1, 0) + part(5, 1) + part(Vx::ToEnd, Vx::ToEnd), "");
}

TEST(Hash, SipHashGivesItsKnownValues) {
  // Of Python's `hash(bytes)` with PYTHONHASHSEED=0, where the key is zero.
  EXPECT_EQ(Vx::SipHash::Hash({0, 0}, "a", 1), 0x407448d2b89b1813U);
  EXPECT_EQ(Vx::SipHash::Hash({0, 0}, "abcdefgh", 8), 0x3f7b849c0b8e35eaU);
  EXPECT_EQ(Vx::SipHash::Hash({0, 0}, "abcdefghijklmno", 15), 0x1fd27a29b0e9dc7aU);
}

TEST(Hash, CraftedTextsDoNotCollide) {
  std::set<unsigned int> hashes;
  std::set<unsigned int> lowBits;
  std::size_t texts = 0;
  const auto add = [&](const std::u16string& text) {
    const unsigned int hash = UniString(text).GenerateHashValue();
    hashes.insert(hash);
    lowBits.insert(hash & 0xFFU);
    ++texts;
  };
  // "Aa" and "BB" have one value under any polynomial hash with the factor 31.
  for (unsigned int bits = 0; bits < 4096; ++bits) {
    std::u16string text;
    for (unsigned int bit = 0; bit < 12; ++bit) text += (bits >> bit & 1U) != 0 ? u"Aa" : u"BB";
    add(text);
  }
  for (unsigned int length = 0; length < 1000; ++length) add(std::u16string(length, u'\0'));
  for (unsigned int unit = 1; unit <= 0xFFFF; unit += 7) add({static_cast<char16_t>(unit)});
  // Chance alone makes a collision of 32 bits among so many texts less often than once in 20 runs.
  EXPECT_GE(hashes.size() + 2, texts);
  EXPECT_EQ(lowBits.size(), 256U);
}

}  // namespace
