#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/Base64.h"
#include "foundation/Vx/Memory.h"

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
