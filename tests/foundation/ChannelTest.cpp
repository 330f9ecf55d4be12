#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/Vx/ChunkedIBinarySubChannel.h"
#include "foundation/Vx/ChunkedOBinarySubChannel.h"
#include "tests/foundation/ToyProtocol.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/FailureOf.h"
#include "tests/support/PiecewiseInput.h"
#include "tests/support/RecordingOutput.h"

namespace {

using Tests::ByteBuilder;
using Tests::FailureOf;
using Tests::toyProtocol;
using Vx::UniString;

constexpr const char* EndReached = "EndOfInputException: End of input reached.";

// Reads and writes a value of these bytes, whole and cut off at every length: then the value must
// stay as it was.
template <class T>
void ExpectForm(const T& value, const std::string& bytes, const T& old) {
  for (std::size_t length = 0; length <= bytes.size(); ++length) {
    const bool whole = length == bytes.size();
    Tests::StringChannel output("", length);
    EXPECT_EQ(output.Write(value), whole ? Vx::StatusSuccess : Vx::StatusOutputFull);
    EXPECT_EQ(output.content, bytes.substr(0, length));
    T read = old;
    // Between the parts of the value, of which the first has 4 bytes, is within it.
    const int ended = length < 4 ? Vx::StatusEndOfInput : Vx::StatusTruncated;
    EXPECT_EQ(output.Read(read), whole ? Vx::StatusSuccess : ended);
    EXPECT_EQ(read, whole ? value : old);
    Tests::PiecewiseInput source(bytes.substr(0, length), 3);
    T readX = old;
    EXPECT_EQ(FailureOf([&] { Vx::IChannelX(source, toyProtocol).Read(readX); }),
              whole ? "" : EndReached);
    EXPECT_EQ(readX, read);
  }
  Tests::RecordingOutput sink;
  Vx::OChannelX(sink, toyProtocol).Write(value);
  EXPECT_EQ(sink.content, bytes);
}

TEST(Channels, GuidsAndTextsHaveOneFormOnBothKindsOfChannels) {
  ExpectForm({0x01020304, 0x0506, 0x0708, {9, 10, 11, 12, 13, 14, 15, 16}},
             "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0C\x0D\x0E\x0F\x10",
             Vx::Guid{5, 5, 5, {}});
  ExpectForm(UniString(UniString::View(u"a\0\xD800", 3)),
             ByteBuilder().U32(3).U16('a').U16(0).U16(0xD800), UniString(u"old"));
}

}  // namespace
