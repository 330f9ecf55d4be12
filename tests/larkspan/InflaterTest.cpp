#include <string>

#include <gtest/gtest.h>

#include "tests/support/Compress.h"
#include "tests/support/Noise.h"
#include "tests/support/PlainInflater.h"

namespace {

using namespace Tests;

TEST(Inflater, CutBrokenOrFlippedAnywhereItFailsAsThePlainForm) {
  const std::string compressed = Compress(Noise(300) + std::string(20000, 'r'));
  for (unsigned int at = 0; at < compressed.size(); ++at) {
    EXPECT_EQ(CompareWithPlainForm(compressed, 20, 64, at, at), "");
    for (const std::size_t piece : {0U, 50U}) {
      const std::string cut = compressed.substr(0, at);
      EXPECT_EQ(CompareWithPlainForm(cut, piece, at % 2 == 0 ? 64 : 1024, at), "");
      for (unsigned int bit = 0; bit < 8; ++bit) {
        std::string flipped = compressed;
        flipped[at] = static_cast<char>(flipped[at] ^ (1 << bit));
        EXPECT_EQ(CompareWithPlainForm(flipped, piece, bit % 3 == 0 ? 64 : 512, at), "");
      }
    }
  }
}

}  // namespace
