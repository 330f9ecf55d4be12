#include <string>

#include "tests/larkspan/ArchiveFolder.h"
#include "tests/support/ExpectFailures.h"

namespace {

using Larkspan::Common::IO::ArchiveFile;

using ArchiveFiles = Tests::ArchiveFolder;

TEST_F(ArchiveFiles, GivesDataOfTheLastOfEqualNamesAndNothingOnceClosed) {
  Write({0, {}, {{"a", 2, {}, "first"}, {"b", 2, {}, "b"}, {"a", 1, {{"h", "1"}}, "last"}}});
  const Tests::SampleArchive other{0, {}, {{"a", 1, {{"h", "2"}}, "last"}}};
  ArchiveFile file(location);
  EXPECT_EQ(file.GetEntryCount(), 3U);
  const auto first = *file.EnumerateEntries();
  const auto last = file.GetEntry(u"a");
  const auto foreign = ArchiveFile(location).GetEntry(u"b");
  const auto channel = file.GetInputChannel(last);
  const std::string closed = "ArchiveException: Archive file is closed.";
  const std::string notFound =
      "ArchiveException: Failed to get archive entry input channel: archive entry not found.";
  const std::string invalid = "IllegalArgumentException: Invalid ";
  Tests::ExpectFailures({
      {[&] { return file.GetInputChannel(first); }, notFound},
      {[&] { return file.GetInputChannel(foreign); }, notFound},
      {[&] { Write(other); }, ""},
      {[&] { return file.GetInputChannel(last); },
       "ArchiveException: Failed to create archive file entry binary input channel: archive "
       "entry not found."},
      {[&] { file.Close(); }, ""},
      {[&] { return file.GetHeader(u"n"); }, closed},
      {[&] { return file.GetEntry(u"n"); }, closed},
      {[&] { return file.GetInputChannel(last); }, closed},
      {[&] { file.Update(); }, closed},
      {[&] { file.PutHeader(u"", u"v"); }, invalid + "header name: name is empty."},
      {[&] { return file.GetEntry(u""); }, invalid + "entry name: name is empty."},
      {[&] { return file.GetInputChannel({}); }, invalid + "archive entry: entry is null."},
  });
  EXPECT_EQ(Tests::ReadRest(*channel), "last");
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
  ArchiveFile empty(location);
  EXPECT_FALSE(empty.HasEntries());
  EXPECT_FALSE(empty.ConstainsEntry(u"a"));
}

TEST_F(ArchiveFiles, LoadThatFailedStartsAgainFromNothing) {
  WriteDamaged();
  const ArchiveFile file(location);
  EXPECT_EQ(file.GetHeader(u"author"), u"Ada");
  Tests::ExpectFailures(
      {{[&] { return file.GetEntryCount(); },
        "ArchiveException: Failed to read archive entry: entry crc check failed."}});
  Write(sample);
  EXPECT_EQ(file.GetEntryCount(), 5U);
}

TEST_F(ArchiveFiles, ManyEntriesCostFewReadsAndAFailedOneNeverLooksLikeTheEnd) {
  Tests::SampleArchive many;
  many.entries.assign(10000, {"entry", 2, {}, "small data"});
  Write(many);
  unsigned int reads = 0;
  for (bool struck = true; struck; ++reads) {
    const Tests::FileFault fault(Tests::CallRead, EIO, reads, 1);
    unsigned int count = 0;
    const std::string failure =
        Tests::FailureOf([&] { count = ArchiveFile(location).GetEntryCount(); });
    // The last read only finds the end of the file.
    EXPECT_TRUE(!failure.empty() || count == 10000U);
    struck = fault.HasStruck();
  }
  EXPECT_LT(reads, 300U);
}

}  // namespace
