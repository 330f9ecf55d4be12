#include <string>
#include <sys/stat.h>

#include "Larkspan/Common/IO/ArchiveHeaderSize.h"
#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "tests/larkspan/ArchiveFolder.h"
#include "tests/support/MallocWatch.h"
#include "tests/support/PiecewiseInput.h"
#include "tests/support/RecordingOutput.h"

namespace Tests {
namespace {

using namespace Larkspan::Common::IO;
using ArchiveFiles = ArchiveFolder;

TEST(Archive, WholeSampleComesOutAsPutTogetherByHand) {
  for (const unsigned int reserved : {0U, 256U}) {
    const SampleArchive sample = MakeSample(reserved);
    RecordingOutput sink;
    ArchiveOBinaryChannel archive(sink, reserved);
    archive.PutHeader(u"author", u"keeps its place");
    archive.SetMethod(ArchiveEntry::Stored);
    PutHeaders(archive, sample);
    for (const SampleEntry& entry : sample.entries) WriteEntry(archive, entry);
    archive.CloseEntry();
    archive.Close();
    EXPECT_EQ(sink.content, ToBytes(sample)) << reserved;
  }
}

TEST(Archive, HeaderSizeIsThatOfTheBlockThatIsWritten) {
  ArchiveHeaders headers;
  EXPECT_EQ(GetArchiveHeaderSize(headers), std::string(HeaderBytes()).size());
  headers.Put(u"n", u"value");
  EXPECT_EQ(GetArchiveHeaderSize(headers), std::string(HeaderBytes().Utf("n").Utf("value")).size());
}

TEST(Archive, EncodedEntriesAreTakenAsTheyAre) {
  RecordingOutput sink;
  ArchiveOBinaryChannel archive(sink, 0);
  archive.PutEncodedEntry(u"a", ArchiveHeaders(0, 0), ArchiveEntry::Stored);
  archive.PutFrame(3);
  archive.Write("ab", 2);
  EXPECT_NE(FailureOf([&] { archive.CloseEncodedEntry(3, 0x352441C2U); }), "");
  archive.Write("c", 1);
  archive.CloseEncodedEntry(3, 0x352441C2U);
  EXPECT_EQ(sink.content, std::string(WithEntryABC(HeaderBytes())));
}

TEST(Archive, EntryIsCurrentUntilItIsClosed) {
  PiecewiseInput source(WithEntryABC(HeaderBytes()));
  ArchiveIBinaryChannel channel(source);
  const auto entry = channel.GetNextEntry();
  EXPECT_TRUE(channel.HasCurrentEntry());
  EXPECT_TRUE(channel.GetCurrentEntry()->Equals(*entry));
  channel.CloseEntry();
  EXPECT_FALSE(channel.HasCurrentEntry());
}

TEST(Archive, CutAnywhereItGivesTheEntriesBeforeAndReportsTheRest) {
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

TEST(Archive, LengthsThatLieTakeNoMemory) {
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

TEST_F(ArchiveFiles, TellWhatTheyHold) {
  Write({0, {}, {{"a", 2, {{"h", "1"}}, "data"}, {"plain", 2, {}, ""}}});
  ArchiveFile file(location);
  EXPECT_TRUE(file.HasEntries());
  EXPECT_TRUE(file.ConstainsEntry(u"a"));
  EXPECT_FALSE(file.ConstainsEntry(u"b"));
  EXPECT_TRUE(file.GetEntry(u"a")->ConstainsHeader(u"h"));
  EXPECT_TRUE(file.GetEntry(u"a")->HasHeaders());
  EXPECT_FALSE(file.GetEntry(u"plain")->HasHeaders());
  EXPECT_FALSE(file.HasHeaders() || file.IsUpdated());
  file.PutHeader(u"h", u"v");
  EXPECT_TRUE(file.HasHeaders() && file.IsUpdated());
  Write({});
  EXPECT_FALSE(ArchiveFile(location).HasEntries());
}

TEST_F(ArchiveFiles, ManyEntriesCostFewReadsAndAFailedOneNeverLooksLikeTheEnd) {
  SampleArchive many;
  many.entries.assign(10000, {"entry", 2, {}, "small data"});
  Write(many);
  unsigned int reads = 0;
  for (bool struck = true; struck; ++reads) {
    const FileFault fault(CallRead, EIO, reads, 1);
    unsigned int count = 0;
    const std::string failure = FailureOf([&] { count = ArchiveFile(location).GetEntryCount(); });
    // The last read only finds the end of the file.
    EXPECT_TRUE(!failure.empty() || count == 10000U);
    struck = fault.HasStruck();
  }
  EXPECT_LT(reads, 300U);
}

}  // namespace
}  // namespace Tests
