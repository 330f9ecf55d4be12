#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/ExpectFailures.h"
#include "tests/support/FailureOf.h"
#include "tests/support/MallocWatch.h"
#include "tests/support/PiecewiseInput.h"

namespace {

using Larkspan::Common::IO::ArchiveIBinaryChannel;
using namespace Tests;

TEST(ArchiveReading, EachCheckHasItsMessage) {
  const std::string header = "ArchiveException: Failed to read archive header: ";
  const std::string entry = "ArchiveException: Failed to read archive entry: ";
  const std::pair<std::string, std::string> rows[] = {
      {"larkspanArchive" + std::string(16, '\0'), header + "invalid archive header magic."},
      {HeaderBytes(0, 0, 1, 7), ""},
      {HeaderBytes(0, 0, 2, 1), header + "unsupported archive version read."},
      {HeaderBytes(31), ""},
      {HeaderBytes(30), header + "archive header size exceeds the specified header size."},
      {HeaderBytes(0, 1), "EndOfInputException: End of input reached."},
      {HeaderBytes().U16(0), entry + "invalid entry name."},
      {HeaderBytes().Utf("a").U32(3), entry + "invalid entry method."},
      {HeaderBytes().Utf("a").U32(2).U32(1).Utf("").Utf("v"),
       "IllegalArgumentException: Invalid archive entry header name: header name is empty."},
      {WithEntryABC(HeaderBytes(), 4, 4, 0), entry + "entry archived size check failed."},
      {WithEntryABC(HeaderBytes(), 3, 4, 0), entry + "entry size check failed."},
      {HeaderBytes().Utf("\xFF"),
       "ConversionErrorException: Failed to convert bytes: malformed UTF-8."},
  };
  for (const auto& [bytes, failure] : rows) EXPECT_EQ(ReadArchive(bytes).failure, failure);
}

TEST(ArchiveReading, WhatAStateDoesNotAllowIsRefused) {
  PiecewiseInput source(WithEntryABC(WithEntryABC(HeaderBytes(), 3, 3, 0)));
  ArchiveIBinaryChannel channel(source);
  const auto entry = channel.GetNextEntry();
  const std::string closed = "IOException: Archive binary input channel is closed.";
  ExpectFailures({
      {[&] { return channel.GetNextEntry(); },
       "ArchiveException: Failed to read archive entry: entry crc check failed."},
      {[&] { return channel.GetNextEntry(); }, "NullReferenceException: Null reference."},
      {[&] { channel.CloseEntry(); }, "NullReferenceException: Null reference."},
      {[&] { channel.Close(); }, ""},
      {[&] { return channel.GetHeader(u"k"); }, closed},
      {[&] { return channel.GetHeader(u""); },
       "IllegalArgumentException: Invalid archive header name: name is empty."},
      {[&] { return channel.GetNextEntry(); }, closed},
      {[&] { return ReadRest(channel); }, closed},
      {[&] { return channel.GetCurrentEntry(); }, closed},
  });
  EXPECT_FALSE(entry->IsClosed());
  PiecewiseInput whole(WithEntryABC(HeaderBytes()));
  ArchiveIBinaryChannel other(whole);
  const auto read = other.GetNextEntry();
  EXPECT_TRUE(other.HasCurrentEntry());
  other.CloseEntry();
  EXPECT_FALSE(other.HasCurrentEntry());
  EXPECT_TRUE(entry->Equals(*read));
  EXPECT_TRUE(read->Equals(*entry));
  PiecewiseInput cut(HeaderBytes().Utf("a").U32(2).U32(0).U32(3).Raw("a"));
  ArchiveIBinaryChannel damaged(cut);
  static_cast<void>(damaged.GetNextEntry());
  EXPECT_NE(FailureOf([&] { damaged.Close(); }), "");
  damaged.Close();
  EXPECT_EQ(cut.closes, 1);
}

TEST(ArchiveReading, CutAnywhereItGivesTheEntriesBeforeAndReportsTheRest) {
  SampleArchive before = MakeSample(0);
  const std::string bytes = ToBytes(before);
  std::size_t cut = bytes.size();
  while (!before.entries.empty()) {
    const std::size_t nameSize = 2 + before.entries.back().name.size();
    before.entries.pop_back();
    for (const std::size_t start = ToBytes(before).size(); cut-- > start;) {
      const auto result = ReadArchive(bytes.substr(0, cut));
      ASSERT_EQ(result.archive, before) << cut;
      // Only a cut in the name looks like the end.
      ASSERT_EQ(result.failure.empty(), cut < start + nameSize) << cut << ": " << result.failure;
    }
    ++cut;
  }
  while (cut-- > 0) ASSERT_NE(ReadArchive(bytes.substr(0, cut)).failure, "") << cut;
}

TEST(ArchiveReading, LengthsThatLieTakeNoMemory) {
  if (!MallocWatch::IsAvailable()) GTEST_SKIP() << "The sanitizer has its own malloc.";
  const std::string claims[] = {
      HeaderBytes(0xFFFFFFFFU),
      HeaderBytes(0, 0xFFFFFFFFU),
      HeaderBytes().Utf("a").U32(2).U32(0).U32(0xFFFFFFFFU).Raw("abc"),
      HeaderBytes().Utf("a").U32(1).U32(0).U32(0xFFFFFFFFU).Raw("\x78\x9C\x03"),
  };
  for (const std::string& bytes : claims) {
    MallocWatch::largest = 0;
    static_cast<void>(ReadArchive(bytes));
    EXPECT_LE(MallocWatch::largest, 70000U) << bytes.size();
  }
}

}  // namespace
