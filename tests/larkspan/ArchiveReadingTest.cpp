#include <algorithm>
#include <functional>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "tests/larkspan/ArchiveFolder.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/FailureOf.h"
#include "tests/support/MallocFault.h"
#include "tests/support/PiecewiseInput.h"

namespace {

using namespace std::string_literals;
using Larkspan::Common::IO::ArchiveIBinaryChannel;
using Tests::ByteBuilder;
using Tests::FailureOf;
using Tests::PiecewiseInput;
using Tests::ReadSample;

constexpr const char* EndOfInput = "EndOfInputException: End of input reached.";
constexpr const char* BadMagic =
    "ArchiveException: Failed to read archive header: invalid archive header magic.";
constexpr const char* TooLarge =
    "ArchiveException: Failed to read archive header: archive header size exceeds the specified "
    "header size.";
constexpr const char* BadName =
    "ArchiveException: Failed to read archive entry: invalid entry name.";
constexpr const char* BadMethod =
    "ArchiveException: Failed to read archive entry: invalid entry method.";

ByteBuilder Header(unsigned int reserved = 0, unsigned int count = 0, unsigned int major = 1,
                   unsigned int minor = 0) {
  return ByteBuilder().Raw("LarkspanArchive").U32(major).U32(minor).U32(reserved).U32(count);
}

ByteBuilder EntryABC(ByteBuilder bytes, unsigned int archived, unsigned int size,
                     unsigned int crc) {
  bytes.Utf("a").U32(2).U32(0).U32(3).Raw("abc").U32(0);
  return bytes.U64(archived).U64(size).U32(crc);
}

TEST(ArchiveReading, SampleComesBackWholeHoweverItIsDelivered) {
  for (const unsigned int reserved : {0U, 100U, 256U}) {
    const Tests::SampleArchive sample = Tests::MakeSample(reserved);
    for (const std::size_t piece : {1U, 2U, 3U, 7U, 1000000U}) {
      PiecewiseInput source(Tests::ToBytes(sample), piece);
      const Tests::ReadResult result = ReadSample(source);
      EXPECT_EQ(result.failure, "");
      EXPECT_EQ(result.archive, sample) << reserved << ", " << piece;
      EXPECT_EQ(source.closes, 1);
    }
  }
}

TEST(ArchiveReading, EachCheckHasItsMessage) {
  const unsigned int crc = 0x352441C2U;
  const ByteBuilder twice = Header(0, 2).Utf("n").Utf("1").Utf("n").Utf("2");
  const struct {
    const char* name;
    std::string bytes;
    std::string failure;
  } rows[] = {
      {"empty", "", BadMagic},
      {"short magic", "LarkspanArchiv", BadMagic},
      {"other magic", "larkspanArchive" + std::string(16, '\0'), BadMagic},
      {"zero in magic", "Larkspan\0Archive"s + std::string(16, '\0'), BadMagic},
      {"version 1.7", Header(0, 0, 1, 7), ""},
      {"version 2.0", Header(0, 0, 2, 0), ""},
      {"version 0.0", Header(0, 0, 0, 0), ""},
      {"version 2.1", Header(0, 0, 2, 1),
       "ArchiveException: Failed to read archive header: unsupported archive version read."},
      {"version 0.1", Header(0, 0, 0, 1),
       "ArchiveException: Failed to read archive header: unsupported archive version read."},
      {"room to spare", Header(100, 1).Utf("name").Utf("value").FillTo(100), ""},
      {"room used up", Header(31), ""},
      {"room too small", Header(30), TooLarge},
      {"room too small for a header", Header(35, 1).Utf("n").Utf(""), TooLarge},
      {"header name twice", twice, ""},
      {"empty header name", Header(0, 1).Utf("").Utf("v"), ""},
      {"cut header count", Header().FillTo(30), EndOfInput},
      {"missing headers", Header(0, 1), EndOfInput},
      {"nothing but a length", Header().Raw("\0"s), ""},
      {"cut name", Header().Raw("\0\x05"s + "abc"), ""},
      {"empty name", Header().U16(0), BadName},
      {"method 0", Header().Utf("a").U32(0), BadMethod},
      {"method 3", Header().Utf("a").U32(3), BadMethod},
      {"method 2 in another byte", Header().Utf("a").U32(0x02000000), BadMethod},
      {"cut method", Header().Utf("a").U16(0), EndOfInput},
      {"empty header name of an entry", Header().Utf("a").U32(2).U32(1).Utf("").Utf("v"),
       "IllegalArgumentException: Invalid archive entry header name: header name is empty."},
      {"good entry", EntryABC(Header(), 3, 3, crc), ""},
      {"all wrong", EntryABC(Header(), 4, 4, 0),
       "ArchiveException: Failed to read archive entry: entry archived size check failed."},
      {"size and CRC wrong", EntryABC(Header(), 3, 4, 0),
       "ArchiveException: Failed to read archive entry: entry size check failed."},
      {"CRC wrong", EntryABC(Header(), 3, 3, crc + 1),
       "ArchiveException: Failed to read archive entry: entry crc check failed."},
      {"zeros behind the last entry", EntryABC(Header(), 3, 3, crc).U16(0), BadName},
      {"malformed name", Header().Utf("\xFF"),
       "ConversionErrorException: Failed to convert bytes: malformed UTF-8."},
  };
  for (const auto& [name, bytes, failure] : rows) {
    EXPECT_EQ(ReadSample(bytes).failure, failure) << name;
  }
  EXPECT_EQ(ReadSample(twice).archive.headers, (Tests::Pairs{{"n", "2"}}));
}

enum State { Fresh, Between, InEntry, Failed, Closed };

// A channel in the state wanted, over two entries of which the first has a wrong CRC for `Failed`.
struct Subject {
  explicit Subject(State state)
      : bytes(EntryABC(EntryABC(Header(0, 1).Utf("k").Utf("v"), 3, 3, 0x352441C2U), 3, 3,
                       state == Failed ? 0 : 0x352441C2U)),
        source(bytes),
        channel(source) {
    if (state != Fresh) static_cast<void>(channel.GetNextEntry());
    if (state == Between) channel.CloseEntry();
    if (state == Failed) {
      static_cast<void>(channel.GetNextEntry());
      EXPECT_NE(FailureOf([&] { channel.CloseEntry(); }), "");
    }
    if (state == Closed) channel.Close();
  }

  std::string bytes;
  PiecewiseInput source;
  ArchiveIBinaryChannel channel;
};

TEST(ArchiveReading, EachOperationDoesInEachStateWhatItShould) {
  const std::map<char, std::string> meanings = {
      {'.', ""},
      {'c', "IOException: Archive binary input channel is closed."},
      {'n', "IllegalArgumentException: Invalid archive header name: name is empty."},
      {'0', "NullReferenceException: Null reference."}};
  char data[10];
  const struct {
    std::function<void(ArchiveIBinaryChannel&)> run;
    const char* results;
  } operations[] = {
      {[](auto& c) { EXPECT_EQ(c.GetReservedHeaderSize(), 0U); }, "....c"},
      {[](auto& c) { EXPECT_EQ(c.GetHeaderCount(), 1U); }, "....c"},
      {[](auto& c) { EXPECT_TRUE(c.HasHeaders()); }, "....c"},
      {[](auto& c) { EXPECT_EQ((*c.EnumerateHeaders()).value, u"v"); }, "....c"},
      {[](auto& c) { EXPECT_TRUE(c.ConstainsHeader(u"k")); }, "....c"},
      {[](auto& c) { EXPECT_EQ(c.GetHeader(u"k"), u"v"); }, "....c"},
      {[](auto& c) { return c.GetHeader(u""); }, "nnnnn"},
      {[](auto& c) { return c.ConstainsHeader(u""); }, "nnnnn"},
      {[](auto& c) { return c.GetNextEntry(); }, "...0c"},
      {[](auto& c) { c.CloseEntry(); }, "...0c"},
      {[&](auto& c) { return c.Read(data, 10, Vx::IBinaryChannel::ReadSome); }, "....c"},
      {[](auto& c) { return c.GetAvailable(); }, "....c"},
      {[](auto& c) { EXPECT_EQ(c.HasCurrentEntry(), !!c.GetCurrentEntry()); }, "....c"},
      {[](auto& c) { c.Close(); }, "....."},
  };
  for (const auto& [run, results] : operations) {
    for (const State state : {Fresh, Between, InEntry, Failed, Closed}) {
      Subject subject(state);
      EXPECT_EQ(FailureOf([&, &work = run] { work(subject.channel); }), meanings.at(results[state]))
          << &run - &operations[0].run << " in state " << state;
    }
  }
}

TEST(ArchiveReading, OnlyAnOpenEntryHasData) {
  for (const State state : {Fresh, Between, InEntry, Failed}) {
    Subject subject(state);
    const std::size_t position = subject.source.GetPosition();
    const std::string data = state == InEntry ? "abc" : "";
    EXPECT_EQ(subject.channel.GetAvailable(), data.size()) << state;
    EXPECT_EQ(Tests::ReadRest(subject.channel), data) << state;
    EXPECT_EQ(subject.channel.HasCurrentEntry(), state == InEntry || state == Failed);
    EXPECT_TRUE(state == InEntry || subject.source.GetPosition() == position);
  }
}

TEST(ArchiveReading, EntryIsVerifiedWholeHoweverLittleOfItWasRead) {
  const std::string bytes = Tests::ToBytes(Tests::MakeSample(0));
  Vx::MemoryIBinaryChannel source(bytes.data(), static_cast<unsigned int>(bytes.size()));
  ArchiveIBinaryChannel channel(source);
  static_cast<void>(channel.GetNextEntry());
  const auto entry = channel.GetNextEntry();
  char first[2];
  EXPECT_EQ(channel.Read(first, 2, Vx::IBinaryChannel::ReadSome), 2U);
  EXPECT_FALSE(entry->IsClosed());
  EXPECT_EQ(entry->GetSize() + entry->GetArchivedSize() + entry->GetCRC(), 0U);
  channel.CloseEntry();
  EXPECT_TRUE(entry->IsClosed());
  EXPECT_EQ(entry->GetSize(), 3003U);
  while (channel.GetNextEntry()) {
  }
  EXPECT_TRUE(channel.GetNextEntry().IsEmpty());
  EXPECT_FALSE(channel.HasCurrentEntry());
}

TEST(ArchiveReading, CloseVerifiesNothingButTheFramingAndClosesInAnyCase) {
  const struct {
    std::string bytes;
    std::string failure;
  } rows[] = {{EntryABC(Header(), 3, 3, 0), ""},
              {Header().Utf("a").U32(2).U32(0).U32(3).Raw("ab"), EndOfInput}};
  for (const auto& [bytes, failure] : rows) {
    PiecewiseInput source(bytes);
    ArchiveIBinaryChannel channel(source);
    const auto entry = channel.GetNextEntry();
    EXPECT_EQ(FailureOf([&] { channel.Close(); }), failure);
    EXPECT_EQ(FailureOf([&] { channel.Close(); }), "");
    EXPECT_FALSE(entry->IsClosed());
    EXPECT_EQ(source.closes, 1);
  }
}

TEST(ArchiveReading, DamagedEntryStartsNoFurtherOne) {
  const std::string bytes = EntryABC(EntryABC(Header(), 3, 3, 0), 3, 3, 0x352441C2U);
  PiecewiseInput source(bytes);
  ArchiveIBinaryChannel channel(source);
  const auto entry = channel.GetNextEntry();
  EXPECT_EQ(FailureOf([&] { return channel.GetNextEntry(); }),
            "ArchiveException: Failed to read archive entry: entry crc check failed.");
  EXPECT_EQ(channel.GetCurrentEntry(), entry);
  EXPECT_FALSE(entry->IsClosed());
}

// Verified entries must be those of the sample, in name and data; a name is covered by no check,
// so it may differ if the damage can lie in it.
void CheckVerified(const Tests::SampleArchive& verified, const Tests::SampleArchive& sample,
                   bool namesMayDiffer) {
  for (const Tests::SampleEntry& entry : verified.entries) {
    const auto same = [&](const Tests::SampleEntry& original) {
      return original.data == entry.data && (namesMayDiffer || original.name == entry.name);
    };
    EXPECT_TRUE(std::any_of(sample.entries.begin(), sample.entries.end(), same)) << entry.name;
    const auto other = [&](const Tests::SampleEntry& original) {
      return original.name == entry.name && original.data != entry.data;
    };
    EXPECT_FALSE(std::any_of(sample.entries.begin(), sample.entries.end(), other)) << entry.name;
  }
}

TEST(ArchiveReading, CutAnywhereItGivesTheEntriesBeforeAndReportsTheRest) {
  for (const unsigned int reserved : {0U, 256U}) {
    const Tests::SampleArchive sample = Tests::MakeSample(reserved);
    std::vector<std::size_t> starts;
    const std::string bytes = Tests::ToBytes(sample, &starts);
    for (std::size_t cut = 0; cut < bytes.size(); ++cut) {
      const Tests::ReadResult result = ReadSample(bytes.substr(0, cut));
      const auto next = std::upper_bound(starts.begin(), starts.end(), cut);
      const auto complete = std::max<std::ptrdiff_t>(next - starts.begin() - 1, 0);
      ASSERT_EQ(result.archive.entries.size(), static_cast<std::size_t>(complete)) << cut;
      ASSERT_TRUE(std::equal(result.archive.entries.begin(), result.archive.entries.end(),
                             sample.entries.begin()));
      // Only a cut in the header's fill, behind an entry or in a name goes unseen.
      bool unseen = reserved != 0 && cut >= 31 + 13 + 9 && cut < 256;
      if (next != starts.begin() && next != starts.end()) {
        const auto& entry = sample.entries[static_cast<std::size_t>(complete)];
        unseen = cut < starts[static_cast<std::size_t>(complete)] + 2 + entry.name.size();
      }
      ASSERT_EQ(result.failure.empty(), unseen) << cut << ": " << result.failure;
    }
  }
}

TEST(ArchiveReading, NoFlippedBitPassesForTheOriginal) {
  for (const unsigned int reserved : {0U, 60U}) {
    const Tests::SampleArchive sample = Tests::MakeSample(reserved);
    const std::string bytes = Tests::ToBytes(sample);
    for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
      std::string flipped = bytes;
      flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << (bit % 8)));
      SCOPED_TRACE(bit);
      const Tests::ReadResult result = ReadSample(flipped);
      CheckVerified(result.archive, sample, true);
      // In memory or in pieces: nobody can tell.
      PiecewiseInput source(flipped, bit % 3 == 0 ? 7 : 1000);
      const Tests::ReadResult inPieces = ReadSample(source);
      EXPECT_EQ(inPieces.failure, result.failure);
      EXPECT_EQ(inPieces.archive, result.archive);
    }
  }
}

TEST(ArchiveReading, LengthsThatLieTakeNoMemory) {
  if (!Tests::MallocFault::IsAvailable()) GTEST_SKIP() << "The sanitizer has its own malloc.";
  const std::string claims[] = {
      Header(0xFFFFFFFFU),
      Header(0, 0xFFFFFFFFU),
      Header(0, 1).U16(0xFFFF),
      Header().U16(0xFFFF),
      Header().Utf("a").U32(2).U32(0xFFFFFFFFU).Utf("n").Utf("v"),
      Header().Utf("a").U32(2).U32(0).U32(0xFFFFFFFFU).Raw("abc"),
      Header().Utf("a").U32(1).U32(0).U32(0xFFFFFFFFU).Raw("\x78\x9C\x03"),
      EntryABC(Header(), 0xFFFFFFFFU, 0xFFFFFFFFU, 0),
  };
  for (const std::string& bytes : claims) {
    std::size_t largest = 0;
    {
      const Tests::MallocFault watch;
      static_cast<void>(ReadSample(bytes));
      largest = watch.GetLargest();
    }
    EXPECT_LE(largest, 70000U) << bytes.size();
  }
}

TEST(ArchiveReading, RunningOutOfMemoryAnywhereIsReportedAndLeaksNothing) {
  const Tests::SampleArchive sample = Tests::MakeSample(0);
  const std::string bytes = Tests::ToBytes(sample);
  Tests::ReadResult result;
  Tests::FailEachAllocation([&] { result = ReadSample(bytes); },
                            [&](const std::string&, bool fired) {
                              EXPECT_EQ(result.failure, fired ? "OutOfMemoryException: " : "");
                              CheckVerified(result.archive, sample, false);
                            });
}

}  // namespace
