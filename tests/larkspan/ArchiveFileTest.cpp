#include <functional>
#include <string>

#include "tests/larkspan/ArchiveFolder.h"

namespace {

using Larkspan::Common::IO::ArchiveEntry;
using Larkspan::Common::IO::ArchiveFile;
using Tests::FailureOf;
using Tests::SampleArchive;

constexpr unsigned int Stored = ArchiveEntry::Stored;
constexpr unsigned int Deflated = ArchiveEntry::Deflated;

const std::string sampleNames = "stored.txt;deflated.txt;empty;empty too;noise;";

std::string ReadEntry(const ArchiveFile& file, const char16_t* name) {
  return Tests::ReadRest(*file.GetInputChannel(file.GetEntry(name)));
}

std::string GetNames(const ArchiveFile& file) {
  std::string names;
  for (const auto& entry : file.EnumerateEntries()) names += entry->GetName().ToUTF8() + ";";
  return names;
}

using ArchiveFiles = Tests::ArchiveFolder;

TEST_F(ArchiveFiles, AnswersAllQuestionsInAnyOrder) {
  Write(sample);
  ArchiveFile file(location);
  EXPECT_TRUE(file.HasEntries());
  EXPECT_EQ(GetNames(file), sampleNames);
  EXPECT_EQ(file.GetEntryCount(), 5U);
  EXPECT_TRUE(file.ConstainsEntry(u"empty"));
  EXPECT_FALSE(file.ConstainsEntry(u"missing") || file.GetEntry(u"missing"));
  EXPECT_EQ(file.GetReservedHeaderSize(), 256U);
  EXPECT_EQ(file.GetHeaderCount(), 2U);
  EXPECT_EQ(file.GetHeader(u"author"), u"Ada");
  EXPECT_TRUE(file.ConstainsHeader(u"empty"));
  Vx::UniString value(u"as it was");
  EXPECT_FALSE(file.ConstainsHeader(u"missing") || file.GetHeader(u"missing", value));
  EXPECT_EQ(value, u"as it was");
  for (const auto& entry : sample.entries) {
    const auto found = file.GetEntry(Tests::Text(entry.name));
    EXPECT_TRUE(found->IsClosed());
    EXPECT_EQ(found->GetSize(), entry.data.size());
    EXPECT_EQ(Tests::ReadRest(*file.GetInputChannel(found), 100), entry.data);
  }
}

TEST_F(ArchiveFiles, HeadersAreReadWithoutTheEntriesAndOnce) {
  WriteDamaged();
  ArchiveFile file(location);
  EXPECT_EQ(file.GetHeader(u"author"), u"Ada");
  folder.Write("a.lsa", "changed");
  EXPECT_EQ(file.GetHeaderCount(), 2U);
  EXPECT_NE(FailureOf([&] { return file.GetEntryCount(); }), "");
}

TEST_F(ArchiveFiles, SmallestArchiveAndNoArchive) {
  Write({});
  ArchiveFile file(location);
  EXPECT_FALSE(file.HasEntries());
  EXPECT_TRUE(file.EnumerateEntries().IsAtEnd());
  EXPECT_FALSE(file.HasHeaders());
  EXPECT_EQ(file.GetReservedHeaderSize(), 0U);
  folder.Write("a.lsa", "");
  ArchiveFile none(location);
  EXPECT_EQ(FailureOf([&] { return none.HasEntries(); }),
            "ArchiveException: Failed to read archive header: invalid archive header magic.");
}

TEST_F(ArchiveFiles, ConstructorTestsTheLocationAndThePresence) {
  EXPECT_EQ(FailureOf([&] { ArchiveFile file(IO::Location(u"relative")); }),
            "IllegalArgumentException: Invalid archive file location: location is not valid.");
  EXPECT_EQ(FailureOf([&] { ArchiveFile file((IO::Location())); }),
            "IllegalArgumentException: Invalid archive file location: location is empty.");
  EXPECT_EQ(FailureOf([&] { ArchiveFile file(location); }),
            "ArchiveException: Failed to create archive file: archive file is not found.");
  Write(sample);
  const ArchiveFile gone(location);
  std::filesystem::remove(GetPath("a.lsa"));
  EXPECT_EQ(FailureOf([&] { return gone.HasHeaders(); }),
            "FileNotFoundException: Failed to create file binary input channel: file not found.");
}

TEST_F(ArchiveFiles, OfEqualNamesTheLastOneCounts) {
  Write({0, {}, {{"a", Stored, {}, "first"}, {"b", Stored, {}, "b"}, {"a", Deflated, {}, "last"}}});
  const ArchiveFile file(location);
  EXPECT_EQ(file.GetEntryCount(), 3U);
  EXPECT_EQ(GetNames(file), "a;b;a;");
  const auto first = *file.EnumerateEntries();
  const std::string notFound =
      "ArchiveException: Failed to get archive entry input channel: archive entry not found.";
  EXPECT_EQ(FailureOf([&] { return file.GetInputChannel(first); }), notFound);
  EXPECT_EQ(file.GetEntry(u"a")->GetMethod(), ArchiveEntry::Deflated);
  EXPECT_EQ(ReadEntry(file, u"a"), "last");
  const ArchiveFile other(location);
  EXPECT_EQ(FailureOf([&] { return file.GetInputChannel(other.GetEntry(u"b")); }), notFound);
}

TEST_F(ArchiveFiles, EntriesThatLookTheSameGiveTheFirstOnesData) {
  Write({0, {}, {{"a", Stored, {{"k", "v"}}, "first"}, {"a", Stored, {{"k", "v"}}, "last"}}});
  EXPECT_EQ(ReadEntry(ArchiveFile(location), u"a"), "first");
}

TEST_F(ArchiveFiles, ChannelOutlivesTheFileAndClosesForGood) {
  Write(sample);
  Vx::Ref<Vx::IBinaryChannel, Vx::AtomicCounter> channel;
  {
    ArchiveFile file(location);
    channel = file.GetInputChannel(file.GetEntry(u"deflated.txt"));
    file.Close();
  }
  char byte = 0;
  EXPECT_EQ(channel->Read(&byte, 1, Vx::IBinaryChannel::ReadSome), 1U);
  EXPECT_GT(channel->GetAvailable(), 0U);
  channel->Close();
  channel->Close();
  const std::string closed = "IOException: Archive file entry binary input channel is closed.";
  EXPECT_EQ(FailureOf([&] { return channel->GetAvailable(); }), closed);
  EXPECT_EQ(FailureOf([&] { return Tests::ReadRest(*channel); }), closed);
}

TEST_F(ArchiveFiles, EntryThatHasGoneFromTheFileIsNotFound) {
  Write(sample);
  const ArchiveFile file(location);
  const auto entry = file.GetEntry(u"noise");
  Write({0, {}, {{"other", Stored, {}, "x"}}});
  EXPECT_EQ(FailureOf([&] { return file.GetInputChannel(entry); }),
            "ArchiveException: Failed to create archive file entry binary input channel: archive "
            "entry not found.");
}

TEST_F(ArchiveFiles, NamesAreTestedBeforeTheClosedStateAndThatBeforeTheCache) {
  Write(sample);
  ArchiveFile file(location);
  const auto entry = file.GetEntry(u"noise");
  file.Close();
  file.Close();
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(file.GetLocation(), location);
  EXPECT_EQ(entry->GetSize(), 500U);
  const std::string closed = "ArchiveException: Archive file is closed.";
  const std::string noHeader = "IllegalArgumentException: Invalid header name: name is empty.";
  const std::string noEntry = "IllegalArgumentException: Invalid entry name: name is empty.";
  const struct {
    std::function<void()> run;
    std::string failure;
  } rows[] = {
      {[&] { return file.GetReservedHeaderSize(); }, closed},
      {[&] { return file.GetHeaderCount(); }, closed},
      {[&] { return file.HasHeaders(); }, closed},
      {[&] { return file.EnumerateHeaders(); }, closed},
      {[&] { return file.ConstainsHeader(u"n"); }, closed},
      {[&] { return file.GetHeader(u"n"); }, closed},
      {[&] { file.PutHeader(u"n", u"v"); }, closed},
      {[&] { file.ClearHeader(u"n"); }, closed},
      {[&] { file.ClearHeaders(); }, closed},
      {[&] { return file.IsUpdated(); }, closed},
      {[&] { return file.HasEntries(); }, closed},
      {[&] { return file.GetEntryCount(); }, closed},
      {[&] { return file.EnumerateEntries(); }, closed},
      {[&] { return file.ConstainsEntry(u"n"); }, closed},
      {[&] { return file.GetEntry(u"n"); }, closed},
      {[&] { return file.GetInputChannel(entry); }, closed},
      {[&] { file.Update(); }, closed},
      {[&] { return file.ConstainsHeader(u""); }, noHeader},
      {[&] { return file.GetHeader(u""); }, noHeader},
      {[&] { file.PutHeader(u"", u"v"); }, noHeader},
      {[&] { file.ClearHeader(u""); }, noHeader},
      {[&] { return file.ConstainsEntry(u""); }, noEntry},
      {[&] { return file.GetEntry(u""); }, noEntry},
      {[&] { return file.GetInputChannel({}); },
       "IllegalArgumentException: Invalid archive entry: entry is null."},
  };
  for (const auto& [run, failure] : rows) {
    EXPECT_EQ(FailureOf(run), failure) << &run - &rows[0].run;
  }
}

TEST_F(ArchiveFiles, AnyHeaderOperationCountsAsAChange) {
  Write(sample);
  const struct {
    std::function<void(ArchiveFile&)> run;
    unsigned int count;
  } rows[] = {
      {[](auto& file) { file.PutHeader(u"author", u"Ada"); }, 2},
      {[](auto& file) { file.PutHeader(u"new", u""); }, 3},
      {[](auto& file) { file.ClearHeader(u"missing"); }, 2},
      {[](auto& file) { file.ClearHeader(u"author"); }, 1},
      {[](auto& file) { file.ClearHeaders(); }, 0},
  };
  for (const auto& [run, count] : rows) {
    ArchiveFile file(location);
    EXPECT_FALSE(file.IsUpdated());
    run(file);
    EXPECT_TRUE(file.IsUpdated());
    EXPECT_EQ(file.GetHeaderCount(), count);
    EXPECT_EQ(file.GetEntryCount(), 5U);  // does not load the headers again
    EXPECT_EQ(file.GetHeaderCount(), count);
  }
}

TEST_F(ArchiveFiles, LoadThatFailedStartsAgainFromNothing) {
  WriteDamaged();
  ArchiveFile file(location);
  const std::string failure =
      "ArchiveException: Failed to read archive entry: entry crc check failed.";
  EXPECT_EQ(FailureOf([&] { return file.HasEntries(); }), failure);
  EXPECT_EQ(FailureOf([&] { return file.GetEntryCount(); }), failure);
  Write(sample);
  EXPECT_EQ(GetNames(file), sampleNames);
}

TEST_F(ArchiveFiles, ReadThatFailsNeverMakesTheArchiveLookComplete) {
  SampleArchive large = sample;
  for (int index = 0; index < 40; ++index) {
    large.entries.push_back({"entry " + std::to_string(index), Stored, {}, std::string(4000, 'x')});
  }
  Write(large);
  for (const std::size_t piece : {3000U, 1000000U}) {
    const Tests::PieceLimit limit(piece);
    unsigned int count = 0;
    const auto work = [&] { count = ArchiveFile(location).GetEntryCount(); };
    // The last read only finds the end of the file.
    Tests::FailEachCall(Tests::CallRead, work, [&](const std::string& failure, bool) {
      EXPECT_TRUE(!failure.empty() || count == 45);
    });
  }
}

TEST_F(ArchiveFiles, ManySmallEntriesCostFewSystemCalls) {
  SampleArchive archive;
  for (int index = 0; index < 10000; ++index) {
    archive.entries.push_back({"e" + std::to_string(index), Stored, {}, "small data"});
  }
  Write(archive);
  const ArchiveFile file(location);
  const Tests::FileFault beyond300(Tests::CallRead, 0, 300);
  EXPECT_EQ(file.GetEntryCount(), 10000U);
  EXPECT_FALSE(beyond300.HasStruck());
}

TEST_F(ArchiveFiles, RunningOutOfMemoryAnywhereIsReportedAndLeaksNothing) {
  Write(sample);
  std::string found;
  const auto work = [&] {
    const ArchiveFile file(location);
    found = GetNames(file) + ReadEntry(file, u"stored.txt");
  };
  // A file that could not be looked at is no failure yet.
  Tests::FailEachAllocation(work, [&](const std::string& failure, bool) {
    EXPECT_TRUE(!failure.empty() || found == sampleNames + "stored words");
  });
}

}  // namespace
