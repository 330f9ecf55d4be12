#include <functional>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "tests/larkspan/ArchiveFolder.h"
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
  Tests::WriteEntry({"s/e", 1, {{"k", "v"}, {"n", ""}}, ""}, archive);
  archive.PutNextEntry(u"none", ArchiveEntry::Stored);
  archive.CloseEntry();
  archive.Close();

  ByteBuilder expected = Header(256, 3);
  expected.Utf("b").Utf("2").Utf("empty").Utf("").Utf("a").Utf("\xC3\xA9").FillTo(256);
  expected.Raw("\0\x01"s + "a").U32(2).U32(0);  // entry name, method, header count
  expected.U32(3).Raw("abc").U32(0);            // framing
  expected.U64(3).U64(3).U32(0x352441C2U);      // footer
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

// What the letters of the table below stand for.
const std::map<char, std::string> meanings = {
    {'.', ""},
    {'c', "IOException: Archive binary output channel is closed."},
    {'w', "ArchiveException: Archive headers can't be updated, header has already been written."},
    {'s', "ArchiveException: Archive entry hasn't been started yet."},
    {'n', "IllegalArgumentException: Invalid archive header name: name is empty."},
    {'e', "IllegalArgumentException: Invalid archive entry name: name is empty."},
    {'h',
     "IllegalArgumentException: Invalid archive entry headers: headers contains header with empty "
     "name."},
    {'m', "IllegalArgumentException: Invalid default archive entry compression method."}};

ArchiveHeaders MakeHeaders(const Vx::UniString& name) {
  ArchiveHeaders headers;
  headers.Put(name, u"value");
  return headers;
}

TEST(ArchiveWriting, EachOperationDoesInEachStateWhatItShould) {
  const struct {
    std::function<void(ArchiveOBinaryChannel&)> run;
    const char* results;  // fresh, between entries, in an entry, closed
  } operations[] = {
      {[](auto& a) { a.PutHeader(u"n", u"v"); }, ".wwc"},
      {[](auto& a) { a.ClearHeader(u"none"); }, ".wwc"},
      {[](auto& a) { a.ClearHeaders(); }, ".wwc"},
      {[](auto& a) { a.PutNextEntry(u"e"); }, "...c"},
      {[](auto& a) { a.Write("x", 1); }, "ss.c"},
      {[](auto& a) { a.Write("", 0); }, "ss.c"},
      {[](auto& a) { a.Flush(); }, "...c"},
      {[](auto& a) { a.CloseEntry(); }, "...c"},
      {[](auto& a) { return a.HasCurrentEntry(); }, "...c"},
      {[](auto& a) { return a.GetCurrentEntry(); }, "...c"},
      {[](auto& a) { EXPECT_EQ(a.GetHeader(u"kept"), u"value"); }, "...."},
      {[](auto& a) { EXPECT_EQ((*a.EnumerateHeaders()).key, u"kept"); }, "...."},
      {[](auto& a) { a.SetMethod(ArchiveEntry::Stored); }, "...."},
      {[](auto& a) { a.SetMethod(ArchiveEntry::Default); }, "mmmm"},
      {[](auto& a) { a.Close(); }, "...."},
      // Arguments are tested before the state.
      {[](auto& a) { a.PutHeader(u"", u"v"); }, "nnnn"},
      {[](auto& a) { a.ClearHeader(u""); }, "nnnn"},
      {[](auto& a) { return a.ConstainsHeader(u""); }, "nnnn"},
      {[](auto& a) { return a.GetHeader(u""); }, "nnnn"},
      {[](auto& a) { a.PutNextEntry(u""); }, "eeee"},
      {[](auto& a) { a.PutNextEntry(u"e", MakeHeaders(u"")); }, "hhhh"},
  };
  for (const auto& [run, results] : operations) {
    for (int state = 0; state < 4; ++state) {
      SCOPED_TRACE(std::to_string(&run - &operations[0].run) + std::to_string(state));
      RecordingOutput sink;
      ArchiveOBinaryChannel archive(sink, 0);
      archive.PutHeader(u"kept", u"value");
      if (state == 1) archive.Flush();
      if (state >= 2) archive.PutNextEntry(u"open", ArchiveEntry::Stored);
      if (state == 3) archive.Close();
      const std::string before = sink.content;
      EXPECT_EQ(FailureOf([&, &work = run] { work(archive); }), meanings.at(results[state]));
      if (results[state] == '.') continue;
      EXPECT_EQ(sink.content, before);
      // What was refused has not disturbed an open entry.
      EXPECT_EQ(FailureOf([&] { archive.Write("x", 1); }).empty(), state == 2);
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
  const auto make = [](const Tests::SampleEntry& entry, bool closed = true) {
    RecordingOutput sink;
    ArchiveOBinaryChannel archive(sink, 0);
    const auto made = Tests::WriteEntry(entry, archive);
    if (closed) archive.CloseEntry();
    return made;
  };
  const Tests::Pairs pairs{{"k", "v"}, {"l", "w"}};
  const auto entry = make({"a", 2, pairs, "x"});
  const struct {
    ArchiveOBinaryChannel::EntryRef other;
    bool equal;
  } rows[] = {
      {make({"a", 2, {{"l", "w"}, {"k", "v"}}, "x"}), true},
      {make({"a", 2, pairs, "y"}), false},
      {make({"a", 2, pairs, "y"}, false), true},
      {make({"b", 2, pairs, "x"}), false},
      {make({"a", 2, {{"k", "v"}}, "x"}), false},
      {make({"a", 2, {{"k", "v"}, {"l", "w"}, {"m", ""}}, "x"}), false},
      {make({"a", 2, {{"k", "v"}, {"l", "other"}}, "x"}), false},
      {make({"a", 2, {{"k", "v"}, {"other", "w"}}, "x"}), false},
      {make({"a", 1, pairs, "x"}, false), false},
  };
  for (const auto& [other, equal] : rows) {
    EXPECT_EQ(entry->Equals(*other), equal);
    EXPECT_EQ(other->Equals(*entry), equal);
  }
  Vx::UniString value(u"as it was");
  EXPECT_FALSE(entry->GetHeader(u"m", value) || entry->ConstainsHeader(u"m"));
  EXPECT_EQ(value, u"as it was");
  EXPECT_EQ(FailureOf([&] { return entry->GetHeader(u""); }),
            "IllegalArgumentException: Invalid archive entry header name: header name is empty.");
}

TEST(ArchiveWriting, RunningOutOfMemoryAnywhereIsReportedAndLeaksNothing) {
  const Tests::SampleArchive sample = Tests::MakeSample(256);
  const auto work = [&] {
    RecordingOutput sink;
    Tests::WriteSample(sample, sink);
  };
  Tests::FailEachAllocation(work, [](const std::string& failure, bool fired) {
    EXPECT_EQ(failure, fired ? "OutOfMemoryException: " : "");
  });
}

}  // namespace
