#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/support/AllocationFault.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/FailureOf.h"
#include "tests/support/RecordingOutput.h"

namespace {

using namespace std::string_literals;
using Larkspan::Common::IO::ArchiveEntry;
using Larkspan::Common::IO::ArchiveHeaders;
using Larkspan::Common::IO::ArchiveOBinaryChannel;
using Tests::ByteBuilder;
using Tests::FailureOf;
using Tests::RecordingOutput;

ByteBuilder Header(unsigned int reserved, unsigned int count) {
  return ByteBuilder()
      .Raw("LarkspanArchive")  // magic
      .U32(1)                  // major version
      .U32(0)                  // minor version
      .U32(reserved)           // reserved header size
      .U32(count);             // header count
}

TEST(ArchiveWriting, SmallestArchiveHas31Bytes) {
  RecordingOutput sink;
  ArchiveOBinaryChannel archive(sink, 0);
  archive.Flush();
  archive.Flush();
  archive.Close();
  const std::string expected = Header(0, 0);
  EXPECT_EQ(expected.size(), 31U);
  EXPECT_EQ(sink.content, expected);
  EXPECT_EQ(sink.Count("Close"), 1U);
}

TEST(ArchiveWriting, EveryFieldStandsInItsPlace) {
  RecordingOutput sink;
  ArchiveOBinaryChannel archive(sink, 256);
  archive.PutHeader(u"b", u"1");
  archive.PutHeader(u"empty", u"");
  archive.PutHeader(u"a", u"\u00E9");
  archive.PutHeader(u"b", u"2");  // keeps its place
  archive.PutNextEntry(u"a", ArchiveEntry::Stored);
  archive.Write("abc", 3);
  ArchiveHeaders headers;
  headers.Put(u"k", u"v");
  headers.Put(u"n", u"");
  archive.PutNextEntry(u"s/e", headers, ArchiveEntry::Deflated);
  archive.PutNextEntry(u"none", ArchiveEntry::Stored);
  archive.CloseEntry();
  archive.Close();

  ByteBuilder expected = Header(256, 3);
  expected.Utf("b").Utf("2").Utf("empty").Utf("").Utf("a").Utf("\xC3\xA9").FillTo(256);
  expected
      .Raw("\0\x01"s + "a")  // entry name
      .U32(2)                // method
      .U32(0)                // header count
      .U32(3)
      .Raw("abc")
      .U32(0)  // framing
      .U64(3)
      .U64(3)
      .U32(0x352441C2U);  // footer
  expected.Utf("s/e").U32(1).U32(2).Utf("k").Utf("v").Utf("n").Utf("");
  expected.U32(8).Raw("\x78\x9C\x03\0\0\0\0\x01"s).U32(0);  // an empty zlib stream
  expected.U64(8).U64(0).U32(0);
  expected.Utf("none").U32(2).U32(0).U32(0).U64(0).U64(0).U32(0);
  EXPECT_EQ(sink.content, std::string(expected));
}

TEST(ArchiveWriting, WholeSampleComesOutAsPutTogetherByHand) {
  for (const unsigned int reserved : {0U, 256U, 1000U}) {
    const Tests::SampleArchive sample = Tests::MakeSample(reserved);
    RecordingOutput sink;
    Tests::WriteSample(sample, sink);
    EXPECT_EQ(sink.content, Tests::ToBytes(sample)) << reserved;
  }
}

TEST(ArchiveWriting, DataIsFramedByTheChunkSizeAndByFlush) {
  constexpr std::size_t chunk = 262144;
  const std::string data = Tests::Noise(2 * chunk + 5);
  RecordingOutput sink;
  ArchiveOBinaryChannel archive(sink, 0);
  archive.PutNextEntry(u"a", ArchiveEntry::Stored);
  archive.Write(data.data(), 10);
  archive.Flush();
  archive.Write(data.data() + 10, 2 * chunk - 5);
  archive.CloseEntry();
  ByteBuilder expected;
  expected.U32(10).Raw(data.substr(0, 10));
  expected.U32(chunk).Raw(data.substr(10, chunk));
  expected.U32(chunk - 5).Raw(data.substr(10 + chunk)).U32(0);
  EXPECT_EQ(sink.content.substr(42, sink.content.size() - 42 - 20), std::string(expected));
  EXPECT_EQ(Tests::ReadSample(sink.content).archive.entries.at(0).data,
            data.substr(0, 2 * chunk + 5));
}

TEST(ArchiveWriting, FlushInADeflatedEntryRaisesTheArchivedSizeOnly) {
  unsigned __int64 archivedSizes[2] = {};
  for (const bool flushed : {false, true}) {
    RecordingOutput sink;
    ArchiveOBinaryChannel archive(sink, 0);
    const auto entry = archive.PutNextEntry(u"a", ArchiveEntry::Deflated);
    archive.Write("abc", 3);
    if (flushed) archive.Flush();
    archive.Write("def", 3);
    archive.CloseEntry();
    EXPECT_EQ(entry->GetSize(), 6U);
    archivedSizes[flushed ? 1 : 0] = entry->GetArchivedSize();
    const Tests::ReadResult result = Tests::ReadSample(sink.content);
    EXPECT_EQ(result.failure, "");
    EXPECT_EQ(result.archive.entries.at(0).data, "abcdef");
  }
  EXPECT_LT(archivedSizes[0], archivedSizes[1]);
}

// Each operation in each state; "" stands for success.
struct Operation {
  const char* name;
  void (*run)(ArchiveOBinaryChannel&);
  const char* results[4];  // fresh, between entries, in an entry, closed
};

constexpr const char* Closed = "IOException: Archive binary output channel is closed.";
constexpr const char* Written =
    "ArchiveException: Archive headers can't be updated, header has already been written.";
constexpr const char* NotStarted = "ArchiveException: Archive entry hasn't been started yet.";
constexpr const char* NoHeaderName =
    "IllegalArgumentException: Invalid archive header name: name is empty.";
constexpr const char* NoEntryName =
    "IllegalArgumentException: Invalid archive entry name: name is empty.";
constexpr const char* NoEntryHeaderName =
    "IllegalArgumentException: Invalid archive entry headers: headers contains header with empty "
    "name.";
constexpr const char* NoMethod =
    "IllegalArgumentException: Invalid default archive entry compression method.";

const Operation operations[] = {
    {"PutHeader", [](auto& a) { a.PutHeader(u"n", u"v"); }, {"", Written, Written, Closed}},
    {"ClearHeader", [](auto& a) { a.ClearHeader(u"none"); }, {"", Written, Written, Closed}},
    {"ClearHeaders", [](auto& a) { a.ClearHeaders(); }, {"", Written, Written, Closed}},
    {"PutNextEntry", [](auto& a) { a.PutNextEntry(u"e"); }, {"", "", "", Closed}},
    {"Write", [](auto& a) { a.Write("x", 1); }, {NotStarted, NotStarted, "", Closed}},
    {"WriteNothing", [](auto& a) { a.Write("", 0); }, {NotStarted, NotStarted, "", Closed}},
    {"Flush", [](auto& a) { a.Flush(); }, {"", "", "", Closed}},
    {"CloseEntry", [](auto& a) { a.CloseEntry(); }, {"", "", "", Closed}},
    {"HasCurrentEntry",
     [](auto& a) { static_cast<void>(a.HasCurrentEntry()); },
     {"", "", "", Closed}},
    {"GetCurrentEntry",
     [](auto& a) { static_cast<void>(a.GetCurrentEntry()); },
     {"", "", "", Closed}},
    {"GetHeader", [](auto& a) { EXPECT_EQ(a.GetHeader(u"kept"), u"value"); }, {"", "", "", ""}},
    {"GetHeaderCount", [](auto& a) { EXPECT_EQ(a.GetHeaderCount(), 1U); }, {"", "", "", ""}},
    {"EnumerateHeaders",
     [](auto& a) { EXPECT_EQ((*a.EnumerateHeaders()).key, u"kept"); },
     {"", "", "", ""}},
    {"SetMethod", [](auto& a) { a.SetMethod(ArchiveEntry::Stored); }, {"", "", "", ""}},
    {"SetMethodDefault",
     [](auto& a) { a.SetMethod(ArchiveEntry::Default); },
     {NoMethod, NoMethod, NoMethod, NoMethod}},
    {"Close", [](auto& a) { a.Close(); }, {"", "", "", ""}},
    // Arguments are tested before the state.
    {"PutEmptyHeader",
     [](auto& a) { a.PutHeader(u"", u"v"); },
     {NoHeaderName, NoHeaderName, NoHeaderName, NoHeaderName}},
    {"ClearEmptyHeader",
     [](auto& a) { a.ClearHeader(u""); },
     {NoHeaderName, NoHeaderName, NoHeaderName, NoHeaderName}},
    {"ConstainsEmptyHeader",
     [](auto& a) { static_cast<void>(a.ConstainsHeader(u"")); },
     {NoHeaderName, NoHeaderName, NoHeaderName, NoHeaderName}},
    {"GetEmptyHeader",
     [](auto& a) { static_cast<void>(a.GetHeader(u"")); },
     {NoHeaderName, NoHeaderName, NoHeaderName, NoHeaderName}},
    {"PutEmptyEntry",
     [](auto& a) { a.PutNextEntry(u""); },
     {NoEntryName, NoEntryName, NoEntryName, NoEntryName}},
    {"PutEntryWithEmptyHeader",
     [](auto& a) {
       ArchiveHeaders headers;
       headers.Put(u"", u"v");
       a.PutNextEntry(u"e", headers);
     },
     {NoEntryHeaderName, NoEntryHeaderName, NoEntryHeaderName, NoEntryHeaderName}},
};

TEST(ArchiveWriting, EachOperationDoesInEachStateWhatItShould) {
  for (const Operation& operation : operations) {
    for (int state = 0; state < 4; ++state) {
      RecordingOutput sink;
      ArchiveOBinaryChannel archive(sink, 0);
      archive.PutHeader(u"kept", u"value");
      if (state == 1) archive.Flush();
      if (state >= 2) archive.PutNextEntry(u"open", ArchiveEntry::Stored);
      if (state == 3) archive.Close();
      const std::string before = sink.content;
      const std::string failure = FailureOf([&] { operation.run(archive); });
      EXPECT_EQ(failure, operation.results[state]) << operation.name << " in state " << state;
      if (failure.empty()) continue;
      EXPECT_EQ(sink.content, before) << operation.name;
      // What was refused has not disturbed an open entry.
      EXPECT_EQ(FailureOf([&] { archive.Write("x", 1); }).empty(), state == 2) << operation.name;
    }
  }
}

TEST(ArchiveWriting, HeaderIsWrittenByPutNextEntryAndFlushOnly) {
  RecordingOutput sink;
  ArchiveOBinaryChannel archive(sink, 0);
  archive.CloseEntry();
  archive.PutHeader(u"a", u"b");
  archive.ClearHeaders();
  archive.Close();
  EXPECT_EQ(sink.calls, std::vector<std::string>{"Close"});
}

TEST(ArchiveWriting, ReservedSizeIsNoneOrAtLeast256) {
  RecordingOutput sink;
  for (const unsigned int size : {0U, 256U, 257U, 1000U, 0xFFFFFFFFU}) {
    EXPECT_NO_THROW(ArchiveOBinaryChannel(sink, size)) << size;
  }
  for (const unsigned int size : {1U, 128U, 255U}) {
    EXPECT_EQ(FailureOf([&] { ArchiveOBinaryChannel archive(sink, size); }),
              "IllegalArgumentException: Invalid header size: header size is too small.");
  }
}

TEST(ArchiveWriting, HeaderFitsToTheLastByteAndNoFurther) {
  // 31 bytes, 2 and 1 for the name, 2 for the value's length.
  const Vx::UniString fitting = Vx::UniString::FromUTF8(std::string(256 - 36, 'v'));
  RecordingOutput sink;
  ArchiveOBinaryChannel archive(sink, 256);
  archive.PutHeader(u"n", fitting);
  archive.PutNextEntry(u"e");
  EXPECT_EQ(sink.content.substr(256, 3), "\0\x01"s + "e");

  const std::string tooLarge =
      "ArchiveException: Failed to write archive header: archive header size exceeds the specified "
      "header size.";
  RecordingOutput other;
  ArchiveOBinaryChannel larger(other, 256);
  larger.PutHeader(u"nn", fitting);
  EXPECT_EQ(FailureOf([&] { larger.Flush(); }), tooLarge);
  EXPECT_EQ(other.content.size(), 257U);
  // The header counts as not written: it is tried again, behind what is there.
  EXPECT_EQ(FailureOf([&] { larger.PutNextEntry(u"e"); }), tooLarge);
}

TEST(ArchiveWriting, FillGoesOutInBlocksOfAtMost128Bytes) {
  RecordingOutput sink;
  ArchiveOBinaryChannel archive(sink, 300);
  archive.Flush();
  EXPECT_EQ(sink.content, std::string(Header(300, 0).FillTo(300)));
  EXPECT_EQ(sink.Count("Write 128"), 2U);
  EXPECT_EQ(sink.Count("Write 13"), 1U);
}

TEST(ArchiveWriting, DefaultMethodIsResolvedWhenTheEntryStarts) {
  RecordingOutput sink;
  ArchiveOBinaryChannel archive(sink, 0);
  EXPECT_EQ(archive.PutNextEntry(u"a")->GetMethod(), ArchiveEntry::Deflated);
  archive.SetMethod(ArchiveEntry::Stored);
  EXPECT_EQ(archive.GetCurrentEntry()->GetMethod(), ArchiveEntry::Deflated);
  EXPECT_EQ(archive.PutNextEntry(u"b", ArchiveEntry::Default)->GetMethod(), ArchiveEntry::Stored);
  EXPECT_EQ(archive.PutNextEntry(u"c", ArchiveEntry::Deflated)->GetMethod(),
            ArchiveEntry::Deflated);
  archive.CloseEntry();
  const auto entries = Tests::ReadSample(sink.content).archive.entries;
  ASSERT_EQ(entries.size(), 3U);
  EXPECT_EQ(entries[1].method, 2U);
}

TEST(ArchiveWriting, EntryGetsItsValuesWhenItIsClosedAndOutlivesTheChannel) {
  RecordingOutput sink;
  ArchiveOBinaryChannel::EntryRef entry;
  ArchiveOBinaryChannel::EntryRef unfinished;
  {
    ArchiveOBinaryChannel archive(sink, 0);
    entry = archive.PutNextEntry(u"a", ArchiveEntry::Stored);
    archive.Write("abc", 3);
    EXPECT_FALSE(entry->IsClosed());
    EXPECT_EQ(entry->GetSize() + entry->GetArchivedSize() + entry->GetCRC(), 0U);
    EXPECT_EQ(archive.GetCurrentEntry(), entry);
    // A failure that comes after the old entry was closed leaves that complete.
    const Vx::UniString longName = Vx::UniString::FromUTF8(std::string(65536, 'n'));
    EXPECT_EQ(FailureOf([&] { archive.PutNextEntry(longName); }),
              "DataIntegrityException: String length exceeds limit.");
    EXPECT_TRUE(entry->IsClosed());
    EXPECT_FALSE(archive.HasCurrentEntry());
    unfinished = archive.PutNextEntry(u"b", ArchiveEntry::Stored);
    archive.Close();
  }
  EXPECT_TRUE(entry->IsClosed());
  EXPECT_EQ(entry->GetSize(), 3U);
  EXPECT_EQ(entry->GetArchivedSize(), 3U);
  EXPECT_EQ(entry->GetCRC(), 0x352441C2U);
  EXPECT_FALSE(unfinished->IsClosed());
  const Tests::ReadResult result = Tests::ReadSample(sink.content);
  EXPECT_EQ(result.archive.entries.size(), 1U);
  EXPECT_EQ(result.failure, "EndOfInputException: End of input reached.");
}

TEST(ArchiveWriting, NextEntryMayBeNamedByTheOneBefore) {
  RecordingOutput sink;
  ArchiveOBinaryChannel archive(sink, 0);
  archive.PutNextEntry(u"a name that is too long to lie in the object itself");
  archive.PutNextEntry(archive.GetCurrentEntry()->GetName());
  archive.CloseEntry();
  const auto entries = Tests::ReadSample(sink.content).archive.entries;
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0], entries[1]);
}

TEST(ArchiveEntries, EqualsComparesFooterValuesOfClosedEntriesOnly) {
  const auto make = [](const char16_t* name, const Tests::Pairs& pairs, ArchiveEntry::Method method,
                       const char* data, bool closed) {
    RecordingOutput sink;
    ArchiveOBinaryChannel archive(sink, 0);
    ArchiveHeaders headers;
    for (const auto& [key, value] : pairs) {
      headers.Put(Vx::UniString::FromUTF8(key), Vx::UniString::FromUTF8(value));
    }
    auto entry = archive.PutNextEntry(name, headers, method);
    archive.Write(data, 1);
    if (closed) archive.CloseEntry();
    return entry;
  };
  const auto stored = ArchiveEntry::Stored;
  const auto entry = make(u"a", {{"k", "v"}, {"l", "w"}}, stored, "x", true);
  const struct {
    ArchiveOBinaryChannel::EntryRef other;
    bool equal;
  } rows[] = {
      {make(u"a", {{"l", "w"}, {"k", "v"}}, stored, "x", true), true},
      {make(u"a", {{"k", "v"}, {"l", "w"}}, stored, "y", true), false},
      {make(u"a", {{"k", "v"}, {"l", "w"}}, stored, "y", false), true},
      {make(u"b", {{"k", "v"}, {"l", "w"}}, stored, "x", true), false},
      {make(u"a", {{"k", "v"}}, stored, "x", true), false},
      {make(u"a", {{"k", "v"}, {"l", "w"}, {"m", ""}}, stored, "x", true), false},
      {make(u"a", {{"k", "v"}, {"l", "other"}}, stored, "x", true), false},
      {make(u"a", {{"k", "v"}, {"other", "w"}}, stored, "x", true), false},
      {make(u"a", {{"k", "v"}, {"l", "w"}}, ArchiveEntry::Deflated, "x", false), false},
  };
  for (const auto& [other, equal] : rows) {
    EXPECT_EQ(entry->Equals(*other), equal);
    EXPECT_EQ(other->Equals(*entry), equal);
  }
  EXPECT_TRUE(entry->ConstainsHeader(u"k"));
  EXPECT_FALSE(entry->ConstainsHeader(u"m"));
  Vx::UniString value(u"as it was");
  EXPECT_FALSE(entry->GetHeader(u"m", value));
  EXPECT_EQ(value, u"as it was");
  EXPECT_EQ(FailureOf([&] { static_cast<void>(entry->GetHeader(u"")); }),
            "IllegalArgumentException: Invalid archive entry header name: header name is empty.");
}

TEST(ArchiveWriting, RunningOutOfMemoryAnywhereIsReportedAndLeaksNothing) {
  const Tests::SampleArchive sample = Tests::MakeSample(256);
  bool fired = true;
  int n = 1;
  for (; fired; ++n) {
    RecordingOutput sink;
    const Larkspan::Testing::AllocationFault fault(n);
    const std::string failure = FailureOf([&] { Tests::WriteSample(sample, sink); });
    fired = fault.HasFired();
    EXPECT_EQ(failure, fired ? "OutOfMemoryException: " : "") << n;
  }
  EXPECT_GT(n, 20);
}

}  // namespace
