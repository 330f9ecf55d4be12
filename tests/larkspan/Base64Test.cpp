#include <gtest/gtest.h>

#include "Larkspan/Common/Base64.h"
#include "foundation/Vx/Memory.h"
#include "tests/support/FailureOf.h"

using Larkspan::Common::Base64;

template <class Operation>
static std::string Convert(Operation operation, const std::string& source) {
  char* target = nullptr;
  unsigned int size = 0;
  operation(source.data(), static_cast<unsigned int>(source.size()), &target, &size);
  return std::string(Vx::ByteArray(target).get(), size);
}

// Every kernel is compared with decoding bit by bit in the fuzz target.
TEST(Base64, HasTheVectorsOfItsStandardAndItsWayWithOtherText) {
  const std::string texts[] = {"Zg==", "Zm8=", "Zm9v", "Zm9vYg==", "Zm9vYmE=", "Zm9vYmFy"};
  for (std::size_t size = 1; size <= 6; ++size) {
    EXPECT_EQ(Convert(Base64::Encode, std::string("foobar", size)), texts[size - 1]);
    EXPECT_EQ(Convert(Base64::Decode, "\n" + texts[size - 1]), std::string("foobar", size));
  }
  for (const auto* text : {"=Zm", "Zm8", "-\x80"}) EXPECT_EQ(Convert(Base64::Decode, text), "");
}

TEST(Base64, TellsTheSizeAloneUpToTheLargestText) {
  unsigned int size = 0;
  Base64::Decode("Zg==", 4, nullptr, &size);
  EXPECT_EQ(size, 1);
  Base64::Encode("x", 3221225469U, nullptr, &size);
  EXPECT_EQ(size, 4294967292U);
  EXPECT_EQ(Tests::FailureOf([&] { Base64::Encode("x", 3221225470U, nullptr, &size); }),
            "IllegalArgumentException: Invalid source: source buffer size is too large.");
}
