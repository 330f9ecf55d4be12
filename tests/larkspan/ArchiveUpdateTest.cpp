#include <functional>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "tests/larkspan/ArchiveFolder.h"
#include "tests/support/MallocWatch.h"
#include "tests/support/SleepRecord.h"

namespace Tests {
namespace {

using Larkspan::Common::IO::ArchiveEnd;
using Larkspan::Common::IO::ArchiveFile;

constexpr const char* UnderWay =
    "ArchiveException: Failed to update archive file: another change is under way.";

// A value whose header block, with the name "h", takes `size` bytes, at least 36.
std::string ValueOf(std::size_t size) {
  return std::string(size - 36, 'v');
}

Vx::UniString TextOf(std::size_t size) {
  return Vx::UniString::FromUTF8(ValueOf(size));
}

// The sample with such a header.
std::string BytesOf(std::size_t size, unsigned int reserved) {
  SampleArchive archive = MakeSample(reserved);
  archive.headers = {{"h", ValueOf(size)}};
  return ToBytes(archive);
}

class ArchiveUpdate : public ArchiveFolder {
 protected:
  // `canSwap`: whether the file system swaps names in one step.
  void Update(std::size_t size, bool canSwap = true) const {
    const FileFault noSwap(CallRename2, EINVAL, 0, canSwap ? 0 : FileFault::Always);
    ArchiveFile file(location);
    file.ClearHeaders();
    file.PutHeader(u"h", TextOf(size));
    file.Update();
  }
  void ExpectAlone(const std::string& content) const {
    EXPECT_TRUE(folder.Read("a.lsa") == content);
    EXPECT_EQ(folder.GetNames(), std::vector<std::string>{"a.lsa"});
  }
};

TEST_F(ArchiveUpdate, WhatHasTheNameOfTheCopyIsRemovedAndNeverOpened) {
  const TemporaryFolder other;
  other.Write("stranger", "precious");
  const auto path = GetPath("a.lsa.updated");
  const std::function<void()> rows[] = {
      [&] { folder.Write("a.lsa.updated", "left by a kill"); },
      [&] { std::filesystem::create_symlink("a.lsa", path); },
      [&] { std::filesystem::create_symlink(other.GetPath() / "stranger", path); },
      [&] { ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); },
      [&] { std::filesystem::create_directory(path); }};
  for (const auto& put : rows) {
    for (const bool canRemove : {false, true}) {
      SCOPED_TRACE(&put - rows);
      Write(MakeSample(0));
      put();
      const bool isFolder = std::filesystem::is_directory(path);
      const FileFault stays(CallRemove, EACCES, 0, canRemove ? 0 : FileFault::Always);
      const std::string failure = FailureOf([&] { Update(1000); });
      const bool fails = isFolder || !canRemove;
      EXPECT_EQ(failure, fails ? "IOException: Failed to create file binary output channel: "
                                 "failed to open file."
                               : "");
      EXPECT_TRUE(folder.Read("a.lsa") == (fails ? ToBytes(MakeSample(0)) : BytesOf(1000, 0)));
      EXPECT_EQ(folder.GetNames().size(), fails ? 2U : 1U);
      std::filesystem::remove(path);
    }
  }
  EXPECT_EQ(other.Read("stranger"), "precious");
}

TEST_F(ArchiveUpdate, LinkToTheArchiveStaysAndLeadsToTheNewFile) {
  std::filesystem::create_directory(GetPath("elsewhere"));
  folder.Write("elsewhere/real", ToBytes(MakeSample(0)));
  std::filesystem::create_symlink("elsewhere/real", GetPath("a.lsa"));
  Update(2000);
  EXPECT_TRUE(folder.Read("elsewhere/real") == BytesOf(2000, 0));
  EXPECT_TRUE(std::filesystem::is_symlink(GetPath("a.lsa")));
}

TEST_F(ArchiveUpdate, RewriteKeepsWhatStandsBehindTheLastFooter) {
  const std::string whole = ToBytes(MakeSample(0));
  SampleArchive readable = MakeSample(0);
  readable.entries.resize(2);
  std::string hidden = whole.substr(ToBytes(readable).size());
  hidden[0] = static_cast<char>(0x80);  // the length of the third name, which was 5
  const std::string sealed = ToSealedBytes(readable);
  for (const std::string& tail :
       {hidden, std::string("\0\5cut", 5), sealed.substr(sealed.size() - 42)}) {
    folder.Write("a.lsa", ToBytes(readable) + tail);
    EXPECT_EQ(ArchiveFile(location).GetEnd().tailSize, tail.size());
    Update(1000);
    SampleArchive expected = readable;
    expected.headers = {{"h", ValueOf(1000)}};
    ExpectAlone(ToBytes(expected) + tail);
  }
}

TEST_F(ArchiveUpdate, SealIsRenewedWhateverBecomesOfItsHeader) {
  const Pairs kept = MakeSample(0).headers;
  const struct {
    std::function<void(ArchiveFile&)> change;
    Pairs headers;
    std::size_t size;
    unsigned int newReserved;
  } rows[] = {{[](ArchiveFile&) {}, kept, 100, 512},
              {[](ArchiveFile& file) { file.ClearHeader(u"seal"); }, kept, 1000, 2048},
              {[](ArchiveFile& file) { file.PutHeader(u"seal", u"1 01234567"); }, kept, 100, 512},
              // The promise takes 18 bytes, and one must stay free.
              {[](ArchiveFile& file) { file.ClearHeaders(); }, {}, 512 - 19, 512},
              {[](ArchiveFile& file) { file.ClearHeaders(); }, {}, 512 - 18, 1024}};
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    folder.Write("a.lsa", ToSealedBytes(MakeSample(512)));
    ArchiveFile file(location);
    static_cast<void>(file.GetHeaderCount());
    row.change(file);
    file.PutHeader(u"h", TextOf(row.size));
    EXPECT_EQ(file.NeedsRewrite(), row.newReserved != 512);
    file.Update();
    EXPECT_EQ(file.GetHeaderCheck(), ArchiveEnd::HeaderCheck::Right);
    SampleArchive expected = MakeSample(row.newReserved);
    expected.headers = row.headers;
    expected.headers.emplace_back("h", ValueOf(row.size));
    ExpectAlone(ToSealedBytes(expected));
    EXPECT_EQ(file.GetReservedHeaderSize(), row.newReserved);
  }
}

TEST_F(ArchiveUpdate, LockOutlivesUpdatesAndEndsWithTheObject) {
  const SleepRecord noWaiting;
  Write(MakeSample(256));
  ArchiveFile holder(location);
  holder.LockForUpdate();
  for (const std::size_t size : {100U, 1000U, 900U}) {  // in place, by a rewrite, in place
    holder.PutHeader(u"h", TextOf(size));
    holder.Update();
    EXPECT_EQ(FailureOf([&] { Update(50); }), UnderWay);
  }
  holder.Close();
  ArchiveFile changed(location);
  changed.PutHeader(u"late", u"");
  EXPECT_EQ(FailureOf([&] { changed.LockForUpdate(); }),
            "ArchiveException: Failed to update archive file: headers were changed without its "
            "lock.");
  Update(50);
  ExpectAlone(BytesOf(50, 1024));
}

TEST_F(ArchiveUpdate, RoomThatAFileClaimsTakesNoMemory) {
  if (!MallocWatch::IsAvailable()) GTEST_SKIP() << "The sanitizer has its own malloc.";
  constexpr unsigned int reserved = 0x800000;
  const SampleArchive archive{reserved, {{"h", ValueOf(100)}}, {}};
  const std::string bare = HeaderBytes(reserved);
  folder.Write("a.lsa", bare);
  MallocWatch::largest = 0;
  Update(100);
  EXPECT_LE(MallocWatch::largest, 0x300000U);
  ExpectAlone(ToBytes(archive));
}

struct Change {
  unsigned int reserved;
  std::size_t headerSize;
  unsigned int newReserved;
  bool canSwap = true;
};

class EachUpdate : public ArchiveUpdate, public testing::WithParamInterface<Change> {
 protected:
  void Run() const { Update(GetParam().headerSize, GetParam().canSwap); }
  const std::string old = ToBytes(MakeSample(GetParam().reserved));
  const std::string updated = BytesOf(GetParam().headerSize, GetParam().newReserved);
};

INSTANTIATE_TEST_SUITE_P(, EachUpdate,
                         testing::Values(Change{1024, 1024, 1024}, Change{1024, 1025, 2048},
                                         Change{300, 301, 600}, Change{256, 1000, 1024},
                                         Change{0, 5000, 0}, Change{0, 1000, 0, false}));

TEST_P(EachUpdate, HeaderThatFitsGoesInPlaceAndAnyOtherDoublesTheRoom) {
  const auto mode = static_cast<std::filesystem::perms>(0750);
  folder.Write("a.lsa", old);
  std::filesystem::permissions(GetPath("a.lsa"), mode);
  std::filesystem::create_hard_link(GetPath("a.lsa"), GetPath("twin"));
  Run();
  EXPECT_EQ(folder.Read("a.lsa"), updated);
  EXPECT_EQ(std::filesystem::status(GetPath("a.lsa")).permissions(), mode);
  EXPECT_EQ(folder.Read("twin") == updated, GetParam().reserved == GetParam().headerSize);
}

}  // namespace
}  // namespace Tests
