#include <gtest/gtest.h>

#include "Larkspan/Common/Base64.h"
#include "foundation/Vx/Memory.h"
#include "tests/support/AllocationFault.h"
#include "tests/support/FailureOf.h"

using Larkspan::Common::Base64;

// What `operation` delivers; told alone, its size is the same.
template <class Operation>
static std::string Convert(Operation operation, const std::string& source) {
  char* target = nullptr;
  unsigned int sizes[2] = {};
  operation(source.data(), static_cast<unsigned int>(source.size()), &target, &sizes[0]);
  const Vx::ByteArray owned(target);
  operation(source.data(), static_cast<unsigned int>(source.size()), nullptr, &sizes[1]);
  EXPECT_EQ(sizes[0], sizes[1]);
  return std::string(target, sizes[0]);
}

TEST(Base64, HasTheVectorsOfItsStandardAndItsWayWithOtherText) {
  const std::string texts[] = {"Zg==", "Zm8=", "Zm9v", "Zm9vYg==", "Zm9vYmE=", "Zm9vYmFy"};
  for (std::size_t size = 1; size <= 6; ++size) {
    EXPECT_EQ(Convert(Base64::Encode, std::string("foobar", size)), texts[size - 1]);
    EXPECT_EQ(Convert(Base64::Decode, "\n" + texts[size - 1]), std::string("foobar", size));
  }
  for (const char* text : {"=Zm9v", "Zm8", "Z=", "-\x80"})
    EXPECT_EQ(Convert(Base64::Decode, text), "");
}

TEST(Base64, SourcesThatCannotBeTakenAreRefusedBeforeAnythingIsAllocated) {
  unsigned int size = 0;
  EXPECT_EQ(Tests::FailureOf([&] { Base64::Encode("x", 3221225470U, nullptr, &size); }),
            "IllegalArgumentException: Invalid source: source buffer size is too large.");
  const Larkspan::Testing::AllocationFault none(1);
  Base64::Encode("x", 3221225469U, nullptr, &size);
  EXPECT_EQ(size, 4294967292U);
  EXPECT_EQ(Tests::FailureOf([&] { Base64::Decode("x", 4, nullptr, &size); }),
            "OutOfMemoryException: ");
}
