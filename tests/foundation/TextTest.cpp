#include <algorithm>
#include <cstdlib>
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

class Random {
 public:
  explicit Random(unsigned int seed) : engine(seed) {}
  unsigned int Below(unsigned int limit) { return static_cast<unsigned int>(engine() % limit); }
  UniChar Unit() { return EdgeUnits[Below(std::size(EdgeUnits))]; }
  std::u16string Text(unsigned int limit) {
    std::u16string text(Below(limit), u'\0');
    for (char16_t& unit : text) unit = static_cast<char16_t>(u'a' + Below(3));
    return text;
  }

 private:
  std::mt19937 engine;
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
  switch (random.Below(8)) {
    case 0:
      text.Append(other);
      model += other;
      break;
    case 1:
      text.Append(u'b');
      model += u'b';
      break;
    case 2:
      text.Append(text.GetView());
      model += std::u16string(model);
      break;
    case 3:
      text.ReplaceAll(other, with);
      model = Replaced(model, other, with);
      break;
    case 4:
      text.ReplaceAll(u'a', u'c');
      std::replace(model.begin(), model.end(), u'a', u'c');
      break;
    case 5: {
      const unsigned int start = random.Below(40);
      const unsigned int count = random.Below(5) == 0 ? Vx::ToEnd : random.Below(40);
      text = text.GetSubstring(start, count);
      model = start < model.size() ? model.substr(start, count) : std::u16string();
      break;
    }
    case 6:
      text.Assign(text.GetView().substr(text.GetLength() / 2));
      model = std::u16string(model.substr(model.size() / 2));
      break;
    default: {
      UniString copy(text);
      text = std::move(copy);
      text.Printf("%T%T", text, UniString(other));
      model += other;
    }
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
  EXPECT_FALSE(UniString(u"a") == units);
}

TEST(UniString, OrderIsThatOfTheUnits) {
  // By characters, the surrogate pair would stand behind U+FFFF.
  EXPECT_LT(UniString(u"\xD83D\xDE00"), UniString(u"\xFFFF"));
  EXPECT_LT(UniString(u"ab"), UniString(u"abc"));
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
      {"copy", [](UniString& t, auto&, auto& units) { t = UniString(units); }},
      {"decode", [](UniString& t, auto& bytes, auto&) { t.Assign(bytes, VxCharCodeUTF); }},
      {"decode on", [](UniString& t, auto& bytes, auto&) { t.Append(bytes, VxCharCodePlain); }},
      {"replace", [](UniString& t, auto&, auto& units) { t.ReplaceAll(u"%"sv, units); }},
      {"format", [](UniString& t, auto& bytes, auto&) { t.Printf("%3000d%s%T", 1, bytes, t); }},
      {"reserve", [](UniString& t, auto&, auto&) { t.Reserve(5000); }},
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
      if (!fault.HasFired()) break;
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
      {"tail behind a character", "\xC3\xA9\xA9", JavaToo},
      {"lead alone", "\xC3", JavaToo},
      {"two of three", "\xE2\x89", JavaToo},
      {"three of four", "\xF0\xA3\x8E", JavaToo},
      {"lead after lead", "\xC3\xC3\xA9", JavaToo},
      {"ASCII for a tail", "\xE2\x89y", JavaToo},
      {"zero for a tail", "\xC3\0"sv, JavaToo},
      {"overlong slash, two bytes", "\xC0\xAF", JavaToo},
      {"overlong slash, three bytes", "\xE0\x80\xAF", JavaToo},
      {"overlong slash, four bytes", "\xF0\x80\x80\xAF", JavaToo},
      {"overlong U+007F", "\xC1\xBF", JavaToo},
      {"overlong U+07FF", "\xE0\x9F\xBF", JavaToo},
      {"overlong U+FFFF", "\xF0\x8F\xBF\xBF", JavaToo},
      {"overlong zero, two bytes", "\xC0\x80", false},
      {"overlong zero, three bytes", "\xE0\x80\x80", JavaToo},
      {"overlong zero, four bytes", "\xF0\x80\x80\x80", JavaToo},
      {"first behind U+10FFFF", "\xF4\x90\x80\x80", JavaToo},
      {"lead F5", "\xF5\x80\x80\x80", JavaToo},
      {"five bytes", "\xF8\x88\x80\x80\x80", JavaToo},
      {"six bytes", "\xFC\x84\x80\x80\x80\x80", JavaToo},
      {"FE", "\xFE", JavaToo},
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
    for (char16_t& unit : texts.back()) unit = random.Unit();
  }
  for (const std::u16string& text : texts) {
    const std::string bytes = Encode(UniString(text), VxCharCodeUTF);
    EXPECT_EQ(bytes.find('\0'), std::string::npos);
    UniString back;
    back.Assign(bytes, VxCharCodeUTF);
    ASSERT_EQ(back.GetView(), text);
  }
}

TEST(Encoding, StandardFourByteSequencesAreReadInTheModifiedForm) {
  EXPECT_EQ(UniString("\xF0\x90\x90\x80\xF4\x8F\xBF\xBF", VxCharCodeUTF), u"\U00010400\U0010FFFF");
}

TEST(Encoding, EveryCharacterComesBackThroughUtf8) {
  for (char32_t character = 0; character <= 0x10FFFF; ++character) {
    if (character >= 0xD800 && character <= 0xDFFF) continue;
    UniString text;
    if (character > 0xFFFF) {
      text.Append(static_cast<UniChar>(0xD7C0 + (character >> 10U)));
      text.Append(static_cast<UniChar>(0xDC00 | (character & 0x3FFU)));
    } else {
      text.Append(static_cast<UniChar>(character));
    }
    ASSERT_EQ(UniString::FromUTF8(text.ToUTF8()), text) << std::hex << +character;
  }
}

TEST(Encoding, UnitsWithoutAnEncoding) {
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
  const struct {
    unsigned int start;
    unsigned int count;
    const char* bytes;
  } rows[] = {{0, Vx::ToEnd,
               "na\xEF"
               "ve"},
              {2, 1, "\xEF"},
              {3, Vx::ToEnd - 1, "ve"},
              {1, 0, ""},
              {5, 1, ""},
              {Vx::ToEnd, Vx::ToEnd, ""}};
  const UniString text(u"na\u00EFve");
  for (const auto& row : rows) {
    const Vx::ByteArray bytes =
        text.ToCStr(row.start, row.count, VxCharCodePlain, OnConversionErrorFail);
    EXPECT_STREQ(bytes.get(), row.bytes) << row.start << " " << row.count;
  }
}

TEST(Hash, SipHashGivesItsKnownValues) {
  // Of Python's `hash(bytes)` with PYTHONHASHSEED=0, where the key is zero.
  const struct {
    std::string bytes;
    std::uint64_t hash;
  } rows[] = {
      {"a", 0x407448d2b89b1813U},
      {"abcdefg", 0x6db12aae9070f506U},
      {"abcdefgh", 0x3f7b849c0b8e35eaU},
      {"abcdefghijklmno", 0x1fd27a29b0e9dc7aU},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Vx::SipHash::Hash({0, 0}, row.bytes.data(), row.bytes.size()), row.hash) << row.bytes;
  }
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
