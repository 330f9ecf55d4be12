#include <string>
#include <tuple>
#include <vector>

#include "tests/larkspan/ArchiveFolder.h"

namespace Tests {
namespace {

using Larkspan::Common::IO::ArchiveFile;

// A value whose header block, with the name "h", takes `size` bytes, at least 36.
std::string ValueOf(std::size_t size) {
  return std::string(size - 36, 'v');
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
    file.PutHeader(u"h", Vx::UniString::FromUTF8(ValueOf(size)));
    file.Update();
  }
  void ExpectAlone(const std::string& content) const {
    EXPECT_TRUE(folder.Read("a.lsa") == content);
    EXPECT_EQ(folder.GetNames(), std::vector<std::string>{"a.lsa"});
  }
};

TEST_F(ArchiveUpdate, RoomThatTheFileHasNowDecides) {
  for (const unsigned int present : {0U, 512U, 1024U}) {
    folder.Write("a.lsa", BytesOf(100, 256));
    ArchiveFile file(location);
    file.PutHeader(u"h", Vx::UniString::FromUTF8(ValueOf(200)));
    Write(MakeSample(present));
    file.Update();
    ExpectAlone(BytesOf(200, present));
    EXPECT_EQ(file.GetReservedHeaderSize(), present);
  }
}

TEST_F(ArchiveUpdate, FailureLeavesTheArchiveAsItWas) {
  const std::string trial =
      "ArchiveException: Failed to update archive file: failed to write archive header.";
  const std::string invalid = "IllegalArgumentException: Invalid ";
  const std::string tooSmall = invalid + "header size: header size is too small.";
  const std::string noName = invalid + "archive header name: name is empty.";
  const std::string tooLong = "DataIntegrityException: String length exceeds limit.";
  const std::string wrong = "ArchiveException: Failed to read archive entry: ";
  WriteDamaged();
  const std::tuple<std::string, std::size_t, std::string, std::string> rows[] = {
      {ToBytes({255, {}, {}}), 40, trial, tooSmall},
      {ToBytes({256, {{"", "v"}}, {}}), 40, trial, noName},
      {ToBytes({256, {}, {}}), 65536 + 36, trial, tooLong},
      {folder.Read("a.lsa"), 1000, wrong + "entry crc check failed.", ""}};
  for (const auto& [archive, headerSize, failure, cause] : rows) {
    folder.Write("a.lsa", archive);
    ArchiveFile file(location);
    file.PutHeader(u"h", Vx::UniString::FromUTF8(ValueOf(headerSize)));
    EXPECT_EQ(FailureOf([&] { file.Update(); }), failure);
    EXPECT_EQ(CauseOf([&] { file.Update(); }), cause);
    ExpectAlone(archive);
  }
}

TEST_F(ArchiveUpdate, LinkUnderTheTemporaryNameIsNotFollowedAndTheArchivesOwnIs) {
  Write(MakeSample(0));
  std::filesystem::create_symlink("a.lsa", GetPath("a.lsa.updated"));
  Update(1000);
  ExpectAlone(BytesOf(1000, 0));
  std::filesystem::create_directory(GetPath("elsewhere"));
  std::filesystem::rename(GetPath("a.lsa"), GetPath("elsewhere/real"));
  std::filesystem::create_symlink("elsewhere/real", GetPath("a.lsa"));
  Update(2000);
  EXPECT_TRUE(folder.Read("elsewhere/real") == BytesOf(2000, 0));
  EXPECT_TRUE(std::filesystem::is_symlink(GetPath("a.lsa")));
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
  // The archive has to be the new one, or the old one if that may be.
  void ExpectWhole(bool canBeOld) const {
    const std::string content = folder.Read("a.lsa");
    if (canBeOld && content == old) return;
    EXPECT_EQ(content, updated);
  }

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
  ExpectWhole(false);
  EXPECT_EQ(std::filesystem::status(GetPath("a.lsa")).permissions(), mode);
  EXPECT_EQ(folder.Read("twin") == updated, GetParam().reserved == GetParam().headerSize);
}

TEST_P(EachUpdate, SystemCallThatFailsIsReportedAndLeavesAWholeArchive) {
  folder.Write("a.lsa", old);
  const auto run = [this] { Run(); };
  constexpr unsigned int syncs = CallSync | CallSyncData;
  // A temporary file that can't be removed has to stay.
  for (const unsigned int calls : {syncs, CallAny & ~CallRemove}) {
    const auto check = [&](const std::string& failure, bool struck) {
      EXPECT_TRUE(calls != syncs || failure.empty() == !struck);
      ExpectWhole(!failure.empty());
      EXPECT_EQ(folder.GetNames().size(), 1U);
      folder.Write("a.lsa", old);
    };
    FailEachCall(calls, run, check);
  }
}

TEST_P(EachUpdate, KilledBeforeAnySystemCallItLeavesAWholeArchive) {
  bool killed = true;
  for (unsigned int skip = 0; killed; ++skip) {
    std::filesystem::remove_all(folder.GetPath());
    std::filesystem::create_directory(folder.GetPath());
    folder.Write("a.lsa", old);
    killed = KillBeforeCall(skip, [&] { Run(); });
    ASSERT_TRUE(killed || skip >= 3);
    ExpectWhole(killed);
    // What a kill leaves behind is in nobody's way, and goes where names can be swapped.
    Update(3000);
    EXPECT_EQ(ReadArchive(folder.Read("a.lsa")).archive.entries, sample.entries);
    EXPECT_TRUE(folder.GetNames().size() == 1 || !GetParam().canSwap) << skip;
  }
}

}  // namespace
}  // namespace Tests
