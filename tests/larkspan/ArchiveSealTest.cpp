#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "Larkspan/Common/IO/FileIBinaryChannel.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "tests/larkspan/ArchiveFolder.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/FailureOf.h"
#include "tests/support/FileFault.h"
#include "tests/support/Noise.h"
#include "tests/support/PiecewiseInput.h"

namespace {

using Larkspan::Common::IO::ArchiveEnd;
using Larkspan::Common::IO::ArchiveFile;
using Larkspan::Common::IO::ArchiveIBinaryChannel;
using Larkspan::Common::IO::ArchiveSeal;
using Larkspan::Common::IO::FileIBinaryChannel;
using Larkspan::Common::IO::FileShare;
using namespace Tests;
using enum ArchiveEnd::State;
using enum ArchiveEnd::HeaderCheck;

constexpr ArchiveEnd SealedAndRight = {SealedRight, Right, 42};

std::string Promise(const std::string& otherPairs) {
  char value[11];
  std::snprintf(value, sizeof(value), "1 %08X", SumOf(otherPairs));
  return ByteBuilder().Utf("seal").Utf(value);
}

std::string Seal(std::uint64_t count, std::uint64_t size, const std::string& summed) {
  ByteBuilder seal;
  seal.Raw("\xFF\xFFLarkspanSeal").U32(1).U64(count).U64(size).U32(SumOf(summed));
  return seal.U32(SumOf(seal));
}

const std::string Author = ByteBuilder().Utf("author").Utf("Ada");
const std::string SealOfABC =
    Seal(1, 3, ByteBuilder().Utf("a").U32(2).U32(0).U64(3).U32(0x352441C2U));

TEST(ArchiveSeal, ItsBytesAreThoseOfTheFormat) {
  const std::string expected =
      ByteBuilder(WithEntryABC(HeaderBytes(0, 2).Raw(Author).Raw(Promise(Author)))).Raw(SealOfABC);
  EXPECT_EQ(ToSealedBytes({0, {{"seal", "mine"}, {"author", "Ada"}}, {{"a", 2, {}, "abc"}}}),
            expected);
}

TEST(ArchiveSeal, AHeaderBlockIsRightOnlyAsItWasWritten) {
  const std::string promise = Promise(Author);
  const std::string other = ByteBuilder().Utf("x").Utf("");
  const std::string fitting = ByteBuilder().Utf("room").Utf(std::string(256 - 31 - 18 - 8, 'x'));
  const std::pair<std::string, ArchiveEnd::HeaderCheck> rows[] = {
      {HeaderBytes(0, 1).Raw(Author), None},
      {HeaderBytes(0, 1).Raw(Promise("")), Right},
      {HeaderBytes(0, 2).Raw(Author).Raw(promise), Right},
      {HeaderBytes(0, 2, 1, 7).Raw(Author).Raw(promise), Wrong},
      {HeaderBytes(0, 2).Raw(promise).Raw(Author), Wrong},
      {HeaderBytes(0, 3).Raw(Author).Raw(promise).Raw(other), Wrong},
      {HeaderBytes(0, 2).Raw(other).Raw(promise), Wrong},
      {HeaderBytes(0, 1).Utf("seal").Utf("1 0000000a"), None},
      {HeaderBytes(0, 1).Utf("seal").Utf("a walrus"), None},
      {HeaderBytes(256, 2).Raw(Author).Raw(promise).FillTo(256), Right},
      {HeaderBytes(256, 2).Raw(Author).Raw(promise).FillTo(255), Wrong},
      {HeaderBytes(256, 2).Raw(Author).Raw(promise).FillTo(255).Raw("\1"), Wrong},
      // Without a byte of fill the entries stand where they would without a reserved size.
      {HeaderBytes(0, 2).Raw(fitting).Raw(Promise(fitting)), Right},
      {HeaderBytes(256, 2).Raw(fitting).Raw(Promise(fitting)), Wrong},
  };
  for (const auto& [bytes, check] : rows) {
    const ArchiveEnd end = ReadArchive(bytes).end;
    EXPECT_EQ(end.headerCheck, check) << bytes;
    if (check == Wrong) {
      EXPECT_TRUE(end.IsDamaged()) << bytes;
    }
    EXPECT_EQ(ReadArchive(bytes).failure, "");
  }
  const SampleArchive full = {256, {{"room", std::string(256 - 31 - 18 - 8, 'x')}}, {}};
  EXPECT_EQ(FailureOf([&] { return ToSealedBytes(full); }),
            "ArchiveException: Failed to write archive header: archive header size exceeds the "
            "specified header size.");
}

TEST(ArchiveSeal, EachEndHasItsState) {
  const std::string plain = WithEntryABC(HeaderBytes(0, 0));
  const std::string promising = WithEntryABC(HeaderBytes(0, 1).Raw(Promise("")));
  const struct {
    std::string archive;
    std::string tail;
    ArchiveEnd::State state;
    bool isDamaged;
  } rows[] = {
      {plain, "", EndsAtFooter, false},
      {HeaderBytes(40, 0), "", EndsInHeader, false},
      {plain, "x", TrailingBytes, false},
      {plain, "\xFF\xFFLarkspan", TrailingBytes, false},
      {plain, SealOfABC, SealWithoutPromise, true},
      {plain, SealOfABC + "x", SealedWrong, true},
      {plain, "\xFF\xFEzzz" + SealOfABC, SealedWrong, true},
      {promising, "", PromisedButMissing, true},
      {promising, SealOfABC.substr(0, 13), PromisedButMissing, true},
      {promising, SealOfABC.substr(0, 14), SealedWrong, true},
      {promising, SealOfABC.substr(0, 41), SealedWrong, true},
      {promising, Seal(2, 3, ""), SealedWrong, true},
      {promising, SealOfABC, SealedRight, false},
  };
  for (const auto& [archive, tail, state, isDamaged] : rows) {
    SCOPED_TRACE(tail);
    PiecewiseInput source(archive + tail, 5);
    ArchiveIBinaryChannel channel(source);
    EXPECT_EQ(channel.GetEnd().state, Unknown);
    EXPECT_EQ(!channel.GetNextEntry(), state == EndsInHeader);
    for (int again = 0; again < 2; ++again) {
      EXPECT_FALSE(channel.GetNextEntry());
      const ArchiveEnd end = channel.GetEnd();
      EXPECT_EQ(end.state, state);
      EXPECT_EQ(end.tailSize, tail.size());
      EXPECT_EQ(end.IsDamaged(), isDamaged);
      EXPECT_EQ(end.IsSealPromised(), archive == promising);
      EXPECT_EQ(channel.GetTail(), tail);
    }
  }
  PiecewiseInput failing(promising + SealOfABC, 5, promising.size() + 20);
  EXPECT_EQ(ReadArchive(failing).end.state, Unknown);
}

// The footers of all entries, which are left without reading them.
std::vector<std::string> LeaveAll(Vx::IBinaryChannel& source) {
  std::vector<std::string> footers;
  ArchiveIBinaryChannel channel(source);
  channel.LeaveEntry();
  while (const auto entry = channel.GetNextEntry()) {
    // How much of it was read does not matter.
    static_cast<void>(ReadRest(channel, 3, footers.size()));
    channel.LeaveEntry();
    EXPECT_FALSE(entry->IsVerified());
    footers.push_back(ByteBuilder().U64(entry->GetSize()).U32(entry->GetCRC()));
  }
  EXPECT_EQ(channel.GetEnd(), SealedAndRight);
  return footers;
}

using SealedFile = ArchiveFolder;

TEST_F(SealedFile, IsPassedOverWithoutReadingItsData) {
  SampleArchive large = sample;
  large.entries[1].data = Noise(2000000);
  const std::string bytes = ToSealedBytes(large);
  std::vector<std::string> footers;
  for (const auto& [name, method, headers, data] : large.entries) {
    footers.push_back(ByteBuilder().U64(data.size()).U32(SumOf(data)));
  }
  PiecewiseInput pieces(bytes, 700);
  Vx::MemoryIBinaryChannel memory(bytes.data(), static_cast<unsigned int>(bytes.size()));
  folder.Write("a.lsa", bytes);
  FileIBinaryChannel file(location, FileShare::NoShare);
  EXPECT_EQ(LeaveAll(pieces), footers);
  EXPECT_EQ(LeaveAll(memory), footers);
  const FileFault afterFewReads(CallRead, EIO, 25);
  EXPECT_EQ(LeaveAll(file), footers);
  EXPECT_EQ(ArchiveFile(location).GetEnd(), SealedAndRight);
}

}  // namespace
