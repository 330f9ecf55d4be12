#include <gtest/gtest.h>

#include "Larkspan/Common/Base64.h"
#include "foundation/Vx/Memory.h"
#include "tests/support/AllocationFault.h"
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

TEST(Base64, TellsTheSizeAloneUpToTheLargestTextAndRefusesTheRest) {
  unsigned int size = 0;
  Base64::Decode("Zg==", 4, nullptr, &size);
  EXPECT_EQ(size, 1);
  Base64::Encode("x", 3221225469U, nullptr, &size);
  EXPECT_EQ(size, 4294967292U);
  struct {
    const char* source;
    unsigned int sizes[2];  // of bytes, of text
    unsigned int* told;
    std::string refused;
  } const rows[] = {
      {nullptr, {0, 0}, nullptr, "source: source buffer pointer is null."},
      {"x", {0, 0}, nullptr, "source: source buffer size is 0."},
      {"x",
       {~0U, ~0U},
       nullptr,
       "target: target buffer pointer is null and target size pointer is null."},
      {"x", {3221225470U, 4294967293U}, &size, "source: source buffer size is too large."}};
  for (const auto& row : rows) {
    const std::string failure = "IllegalArgumentException: Invalid " + row.refused;
    EXPECT_EQ(
        Tests::FailureOf([&] { Base64::Encode(row.source, row.sizes[0], nullptr, row.told); }),
        failure);
    EXPECT_EQ(
        Tests::FailureOf([&] { Base64::Decode(row.source, row.sizes[1], nullptr, row.told); }),
        failure);
  }
  char* untouched = nullptr;
  const Tests::AllocationFault fault(1);
  EXPECT_EQ(Tests::FailureOf([&] { Base64::Encode("x", 1, &untouched, &size); }),
            "OutOfMemoryException: ");
  EXPECT_EQ(untouched, nullptr);
  EXPECT_EQ(size, 4294967292U);
}
