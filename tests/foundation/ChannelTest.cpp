#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/Vx/BufferedIBinaryChannel.h"
#include "foundation/Vx/BufferedOBinaryChannel.h"
#include "foundation/Vx/ChunkedIBinarySubChannel.h"
#include "foundation/Vx/ChunkedOBinarySubChannel.h"
#include "foundation/Vx/IBinaryChannelUtilities.h"
#include "foundation/Vx/IllegalArgumentException.h"
#include "foundation/Vx/OutOfMemoryException.h"
#include "tests/foundation/ToyProtocol.h"
#include "tests/support/AllocationFault.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/FailureOf.h"
#include "tests/support/PiecewiseInput.h"
#include "tests/support/RecordingOutput.h"

namespace {

using Larkspan::Testing::AllocationFault;
using Tests::ByteBuilder;
using Tests::FailureOf;
using Tests::PiecewiseInput;
using Tests::RecordingOutput;
using Vx::IBinaryChannel;
using Vx::OBinaryChannel;
using Vx::UniString;

constexpr std::size_t Pieces[] = {1, 2, 3, 7, std::string::npos};
constexpr const char* EndReached = "EndOfInputException: End of input reached.";

void Write(OBinaryChannel& channel, const std::string& bytes) {
  channel.Write(bytes.data(), static_cast<unsigned int>(bytes.size()));
}

// Reads to the end, at most `piece` bytes a call.
std::string ReadToEnd(IBinaryChannel& channel, std::size_t piece) {
  std::string bytes;
  char buffer[64];
  for (;;) {
    const auto size = static_cast<unsigned int>(std::min(piece, sizeof(buffer)));
    const unsigned int count = channel.Read(buffer, size, IBinaryChannel::ReadSome);
    if (count == 0) return bytes;
    bytes.append(buffer, count);
  }
}

ByteBuilder Frames(const std::vector<std::string>& frames) {
  ByteBuilder bytes;
  for (const std::string& frame : frames) bytes.U32(frame.size()).Raw(frame);
  return bytes.U32(0);
}

TEST(ChunkedOutput, FramesAreWrittenByteForByte) {
  const struct {
    const char* name;
    unsigned int chunkSize;
    std::vector<std::string> writes;  // "|" flushes
    std::vector<std::string> frames;
  } rows[] = {
      {"nothing", 4, {}, {}},
      {"empty writes", 4, {"", ""}, {}},
      {"flush without data", 4, {"|", "|"}, {}},
      {"less than a chunk", 4, {"a", "b"}, {"ab"}},
      {"a chunk at once", 4, {"abcd"}, {"abcd"}},
      {"a chunk in two", 4, {"ab", "cd"}, {"abcd"}},
      {"several chunks at once", 4, {"abcdefghij"}, {"abcd", "efgh", "ij"}},
      {"several chunks behind a byte", 4, {"a", "bcdefghij"}, {"abcd", "efgh", "ij"}},
      {"flush in the middle", 4, {"ab", "|", "cdefgh"}, {"ab", "cdef", "gh"}},
      {"flush behind a full chunk", 4, {"abcd", "|", "e"}, {"abcd", "e"}},
      {"flush at the end", 4, {"ab", "|"}, {"ab"}},
      {"chunks of one", 1, {"ab", "|", "c"}, {"a", "b", "c"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    RecordingOutput sink;
    Vx::ChunkedOBinarySubChannel channel(sink, Tests::toyOutputX, row.chunkSize);
    std::size_t flushes = 0;
    for (const std::string& bytes : row.writes) {
      if (bytes == "|") {
        channel.Flush();
        ++flushes;
        EXPECT_EQ(sink.calls.back(), "Flush");
      } else {
        Write(channel, bytes);
      }
    }
    channel.Close();
    channel.Close();
    EXPECT_EQ(sink.content, std::string(Frames(row.frames)));
    EXPECT_EQ(sink.Count("Flush"), flushes);
    EXPECT_EQ(sink.Count("Close"), 0U);
  }
}

TEST(ChunkedOutput, ChunkSizesThatCantBeAreRefused) {
  RecordingOutput sink;
  EXPECT_THROW(Vx::ChunkedOBinarySubChannel(sink, Tests::toyOutputX, 0),
               Vx::IllegalArgumentException);
  const AllocationFault fault(1);
  EXPECT_THROW(Vx::ChunkedOBinarySubChannel(sink, Tests::toyOutputX, 10), Vx::OutOfMemoryException);
}

TEST(ChunkedInput, TruncationIsReportedAtEveryLength) {
  const std::string whole = Frames({"abcd", "ef"});
  for (std::size_t length = 0; length < whole.size(); ++length) {
    for (const std::size_t piece : Pieces) {
      SCOPED_TRACE(std::to_string(length) + " in pieces of " + std::to_string(piece));
      PiecewiseInput source(whole.substr(0, length), piece);
      Vx::ChunkedIBinarySubChannel input(source, Tests::toyInputX);
      EXPECT_EQ(FailureOf([&] { ReadToEnd(input, 3); }), EndReached);
      PiecewiseInput other(whole.substr(0, length), piece);
      Vx::ChunkedIBinarySubChannel closing(other, Tests::toyInputX);
      EXPECT_EQ(FailureOf([&] { closing.Close(); }), EndReached);
    }
  }
}

TEST(ChunkedInput, LengthsThatLieBuyNoMemory) {
  for (const unsigned int length : {0xFFFFFFFFU, 0x80000000U, 0x7FFFFFFFU, 4U}) {
    PiecewiseInput source(ByteBuilder().U32(length).Raw("abc"));
    Vx::ChunkedIBinarySubChannel input(source, Tests::toyInputX);
    char buffer[16];
    const AllocationFault fault(0);
    EXPECT_EQ(input.GetAvailable(), 3U);
    EXPECT_EQ(input.Read(buffer, sizeof(buffer), IBinaryChannel::ReadSome), 3U);
    EXPECT_EQ(fault.GetCount(), 0);
    EXPECT_EQ(FailureOf([&] { ReadToEnd(input, 1); }), EndReached);
    EXPECT_EQ(FailureOf([&] { input.Close(); }), EndReached);
  }
}

TEST(ChunkedInput, CloseLeavesTheSourceBehindTheEndingFrame) {
  const std::string data(10000, 'x');
  const std::string bytes = std::string(Frames({data, "abcd", "e"})) + "FOOTER";
  for (const unsigned int read : {0U, 1U, 9999U, 10000U, 10001U, 10004U, 10005U, 10006U}) {
    for (const std::size_t piece : Pieces) {
      PiecewiseInput source(bytes, piece);
      Vx::ChunkedIBinarySubChannel input(source, Tests::toyInputX);
      std::string buffer(read, '\0');
      EXPECT_EQ(input.Read(buffer.data(), read, IBinaryChannel::ReadAll), std::min(read, 10005U));
      input.Close();
      input.Close();
      EXPECT_EQ(source.closes, 0);
      EXPECT_EQ(ReadToEnd(source, 100), "FOOTER") << read;
    }
  }
}

TEST(ChunkedInput, WhatIsAvailableEndsWithTheFrameAndWithTheSource) {
  PiecewiseInput source(Frames({"ab", "cde"}));
  Vx::ChunkedIBinarySubChannel input(source, Tests::toyInputX);
  char buffer[8];
  for (const unsigned int expected : {2U, 3U}) {
    EXPECT_EQ(input.GetAvailable(), expected);
    EXPECT_EQ(input.Read(buffer, 0, IBinaryChannel::ReadSome), 0U);
    EXPECT_EQ(input.Read(buffer, sizeof(buffer), IBinaryChannel::ReadSome), expected);
  }
  EXPECT_EQ(input.GetAvailable(), 0U);
  EXPECT_EQ(input.GetAvailable(), 0U);
  EXPECT_EQ(input.Read(buffer, sizeof(buffer), IBinaryChannel::ReadSome), 0U);
}

TEST(BufferedOutput, WritesAreGatheredAndNothingIsLostOrMoved) {
  const struct {
    unsigned int capacity;
    std::vector<std::string> writes;
    std::vector<std::string> calls;
  } rows[] = {
      {0, {"a", "", "bc"}, {"Write 1", "Write 2", "Flush"}},
      {4, {}, {"Flush"}},
      {4, {"a", "b", "c"}, {"Write 3", "Flush"}},
      {4, {"ab", "cd", "e"}, {"Write 4", "Write 1", "Flush"}},
      {4, {"abc", "de"}, {"Write 3", "Write 2", "Flush"}},
      {4, {"abcd"}, {"Write 4", "Flush"}},
      {4, {"a", "bcdefgh"}, {"Write 1", "Write 7", "Flush"}},
  };
  for (const auto& row : rows) {
    RecordingOutput sink;
    std::string expected;
    Vx::BufferedOBinaryChannel channel(sink, row.capacity);
    for (const std::string& bytes : row.writes) {
      Write(channel, bytes);
      expected += bytes;
    }
    channel.Flush();
    EXPECT_EQ(sink.calls, row.calls);
    EXPECT_EQ(sink.content, expected);
    Write(channel, "zz");
    channel.Close();
    EXPECT_EQ(sink.content, expected + "zz");
    EXPECT_EQ(sink.Count("Close"), 1U);
  }
  RecordingOutput sink;
  Write(*std::make_unique<Vx::BufferedOBinaryChannel>(sink, 4U), "abc");
  EXPECT_TRUE(sink.calls.empty());
}

TEST(BufferedInput, SmallReadsCostFewCallsAndLargeOnesPassTheBufferBy) {
  PiecewiseInput source("abcdefghij");
  Vx::BufferedIBinaryChannel channel(source, 4);
  char buffer[8] = {};
  EXPECT_EQ(channel.Read(buffer, 5, IBinaryChannel::ReadAll), 5U);
  EXPECT_EQ(channel.GetAvailable(), 5U);
  EXPECT_EQ(buffer + ReadToEnd(channel, 1), "abcdefghij");
  EXPECT_EQ(source.asked, (std::vector<unsigned int>{5, 4, 4, 4}));
}

const Vx::Guid guid = {0x01020304, 0x0506, 0x0708, {9, 10, 11, 12, 13, 14, 15, 16}};
const std::string guidBytes = "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0C\x0D\x0E\x0F\x10";
const UniString text(UniString::View(u"a\0\xD800", 3));
const std::string textBytes = ByteBuilder().U32(3).U16('a').U16(0).U16(0xD800);

TEST(ValueChannels, GuidAndTextHaveOneFormThroughTheBasesOfTheProtocols) {
  RecordingOutput sink;
  Vx::OChannelX output(sink, Tests::toyOutputX);
  output.Write(guid);
  output.Write(text);
  output.WriteBin(nullptr, 0);
  output.WriteBin("xyz", 3);
  EXPECT_EQ(sink.content, guidBytes + textBytes + "xyz");
  EXPECT_EQ(sink.Count("Write 0"), 0U);

  Tests::StringOChannel statusOutput;
  EXPECT_EQ(statusOutput.Write(guid), 0);
  EXPECT_EQ(statusOutput.Write(text), 0);
  EXPECT_EQ(statusOutput.content, guidBytes + textBytes);

  for (const std::size_t piece : Pieces) {
    PiecewiseInput source(sink.content + std::string(9000, '-') + "end", piece);
    Vx::IChannelX input(source, Tests::toyInputX);
    Vx::Guid guidRead;
    UniString textRead(u"old");
    char bytes[4] = {};
    input.Read(guidRead);
    input.Read(textRead);
    EXPECT_EQ(guidRead, guid);
    EXPECT_EQ(textRead, text);
    EXPECT_EQ(input.ReadBin(bytes, 3), 3U);
    EXPECT_STREQ(bytes, "xyz");
    EXPECT_EQ(input.Skip(9000), 9000U);
    EXPECT_EQ(Vx::IBinaryChannelUtilities::ReadFully(input, bytes, 2), 2U);
    EXPECT_EQ(Vx::IBinaryChannelUtilities::ReadFully(source, bytes, 4), 1U);
    EXPECT_EQ(input.Skip(5), 0U);
  }
}

// Reads a value out of bytes that are cut at every length: the value must stay as it was.
template <class T>
void ExpectUntouchedByTruncation(const std::string& bytes, const T& old) {
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    T value = old;
    Tests::StringIChannel statusSource(bytes.substr(0, length));
    EXPECT_EQ(statusSource.Read(value), Vx::StatusEndOfInput);
    PiecewiseInput source(bytes.substr(0, length));
    Vx::IChannelX input(source, Tests::toyInputX);
    EXPECT_EQ(FailureOf([&] { input.Read(value); }), EndReached);
    EXPECT_EQ(value, old);
    Tests::StringOChannel full(length);
    T whole;
    EXPECT_EQ(Tests::StringIChannel(bytes).Read(whole), 0);
    EXPECT_EQ(full.Write(whole), Vx::StatusOutputFull) << length;
  }
}

TEST(ValueChannels, ValuesThatAreCutOffChangeNothing) {
  ExpectUntouchedByTruncation(guidBytes, Vx::Guid{5, 5, 5, {}});
  ExpectUntouchedByTruncation(textBytes, UniString(u"old"));
  const AllocationFault fault(0);
  UniString value;
  EXPECT_NE(Tests::StringIChannel(ByteBuilder().U32(0xFFFFFFFF).U16('a')).Read(value), 0);
  EXPECT_LT(fault.GetCount(), 3);
}

}  // namespace
