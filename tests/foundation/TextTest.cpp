#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "foundation/Vx/SipHash.h"
#include "foundation/Vx/UniString.h"
#include "tests/support/SeededRandom.h"

namespace {

using Vx::UniString;
using namespace std::string_view_literals;

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

TEST(Hash, SipHashGivesItsKnownValues) {
  // Of Python's `hash(bytes)` with PYTHONHASHSEED=0, where the key is zero.
  EXPECT_EQ(Vx::SipHash::Hash({0, 0}, "a", 1), 0x407448d2b89b1813U);
  EXPECT_EQ(Vx::SipHash::Hash({0, 0}, "abcdefghijklmno", 15), 0x1fd27a29b0e9dc7aU);
}

}  // namespace
