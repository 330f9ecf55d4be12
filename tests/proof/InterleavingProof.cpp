// One operation is held before each of its system calls while a second one runs as a whole, as if
// another process had come in between. The outcome must be that of one after the other, in either
// order, counting only those that reported success.

#include <filesystem>
#include <stdexcept>
#include <vector>

#include <gtest/gtest-spi.h>

#include "Larkspan/Archive/ArchiveChange.h"
#include "Larkspan/Common/IO/ArchiveFile.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "Larkspan/Common/IO/UpdateFileTransaction.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/proof/Trial.h"
#include "tests/support/SleepRecord.h"

namespace Tests {
namespace {

using namespace Larkspan::Common::IO;
using Work = Operation::Work;

struct Meeting {
  const char* name;
  std::string before;  // what the file holds
  Work held;
  Work whole;
  // What may be there besides.
  Operation::Allows allows = nullptr;
};

Work Changes(const char16_t* name, std::size_t size) {
  return [=](const Stage& stage) {
    ArchiveFile file(stage.file);
    file.LockForUpdate();
    file.PutHeader(name, Vx::UniString::FromUTF8(std::string(size, 'v')));
    file.Update();
  };
}

void DropEntry(const Stage& stage) {
  Larkspan::Archive::ArchiveChange change(stage.file);
  change.GetEntries().Drop(0);
  change.Commit();
}

Work Replaces(const std::string& content) {
  return [=](const Stage& stage) {
    UpdateFileTransaction transaction(stage.file);
    FileOBinaryChannel file(stage.file, false, FileShare::NoShare);
    file.Write(content.data(), static_cast<unsigned int>(content.size()));
    file.Close();
    transaction.Commit();
  };
}

void Recover(const Stage& stage) {
  UpdateFileTransaction::Recover(stage.file);
}

// One archive or the other, never some of each.
void Read(const Stage& stage) {
  const ArchiveFile file(stage.file);
  const auto count = file.GetEntryCount();
  if (count != MakeSample(0).entries.size() || file.GetEnd().IsDamaged()) {
    throw std::logic_error("another archive");
  }
}

void RenameOver(const Stage& stage) {
  stage.Write("other", ToSealedBytes(MakeSample(512)));
  std::filesystem::rename(stage.folder.GetPath() / "other", stage.folder.GetPath() / "f");
}

void Extract(const Stage& stage) {
  ArchiveFile(stage.file).ExtractTo(stage.out);
}

void SwapFolderForLink(const Stage& stage) {
  const std::filesystem::path folder = stage.folder.GetPath() / "out/d";
  std::filesystem::create_directory(stage.folder.GetPath() / "outside");
  if (!std::filesystem::is_directory(folder)) return;
  std::filesystem::rename(folder, stage.folder.GetPath() / "out/real");
  std::filesystem::create_symlink("../outside", folder);
}

bool HasNothingOutside(const Tree& tree) {
  for (const auto& [name, content] : tree) {
    if (name.starts_with("outside/")) return false;
  }
  return true;
}

std::vector<Meeting> MakeMeetings() {
  const std::string plain = ToBytes(MakeSample(1024));
  const std::string sealed = ToSealedBytes(MakeSample(1024));
  const std::string old(3000, 'o');
  const Work inPlace = Changes(u"second", 100);
  const Work rewrite = Changes(u"second", 2000);
  return {
      {"changes in place", plain, Changes(u"first", 100), inPlace},
      {"change in place and rewrite", plain, Changes(u"first", 100), rewrite},
      {"rewrite and change in place", sealed, Changes(u"first", 2000), inPlace},
      {"rewrites", sealed, Changes(u"first", 2000), rewrite},
      {"reader and change in place", sealed, Read, inPlace},
      {"reader and rewrite", sealed, Read, rewrite},
      {"reader and replacement", sealed, Read, RenameOver},
      {"change in place and replacement", sealed, Changes(u"first", 100), RenameOver},
      {"change of entries and rewrite", sealed, DropEntry, rewrite},
      {"change of entries and replacement", sealed, DropEntry, RenameOver},
      {"rewrite and replacement", sealed, Changes(u"first", 2000), RenameOver},
      {"transactions", old, Replaces("first"), Replaces("second")},
      {"transaction and recovery", old, Replaces("first"), Recover},
      {"extraction and a link",
       ToBytes({0, {}, {{"d/1", 2, {}, "1"}, {"d/2", 2, {}, "2"}, {"e/3", 2, {}, "3"}}}), Extract,
       SwapFolderForLink, HasNothingOutside},
  };
}

// What comes of works that are done one after the other; only those that succeed count.
Tree InTurn(const Stage& stage, const Meeting& meeting, const std::vector<Work>& works) {
  stage.Clear();
  stage.Write("f", meeting.before);
  for (const Work& work : works) static_cast<void>(Catch([&] { work(stage); }));
  return stage.Look();
}

void Meet(const Meeting& meeting) {
  const Stage stage;
  const SleepRecord noSleep;
  const PretendedCalls freeSyncs(CallSync | CallSyncData);
  const auto& held = meeting.held;
  const auto& whole = meeting.whole;
  const auto& allows = meeting.allows;
  const Tree none = InTurn(stage, meeting, {});
  const Tree first = InTurn(stage, meeting, {held});
  const Tree second = InTurn(stage, meeting, {whole});
  const Tree both = InTurn(stage, meeting, {held, whole});
  const Tree turned = InTurn(stage, meeting, {whole, held});
  bool struck = true;
  for (unsigned int call = 0; struck && !testing::Test::HasFailure(); ++call) {
    SCOPED_TRACE("before call " + std::to_string(call));
    InTurn(stage, meeting, {});
    std::exception_ptr heldFailure;
    std::exception_ptr wholeFailure;
    {
      const CallHook hook(call, [&] { wholeFailure = Catch([&] { whole(stage); }); });
      heldFailure = Catch([&] { held(stage); });
      struck = hook.HasStruck();
    }
    CountPoint("interleavings");
    const Outcome one = Describe(heldFailure);
    const Outcome other = Describe(wholeFailure);
    SCOPED_TRACE("held: " + one.failure + "; whole: " + other.failure);
    EXPECT_FALSE(one.wrongResult || other.wrongResult);
    const Tree tree = stage.Look();
    if (allows) {
      EXPECT_TRUE(allows(tree)) << Print(tree);
      continue;
    }
    const bool heldDone = one.failure.empty();
    const bool wholeDone = struck && other.failure.empty();
    const Tree& expected = wholeDone ? (heldDone ? both : second) : (heldDone ? first : none);
    EXPECT_TRUE(tree == expected || (heldDone && wholeDone && tree == turned)) << Print(tree);
  }
}

class Meetings : public testing::TestWithParam<Meeting> {};

INSTANTIATE_TEST_SUITE_P(Proof, Meetings, testing::ValuesIn(MakeMeetings()),
                         [](const auto& parameter) { return ToTestName(parameter.param.name); });

TEST_P(Meetings, EndAsOneAfterTheOther) {
  Meet(GetParam());
}

TEST(ProofOfMeetings, FindsWhatLocksPrevent) {
  const PretendedCalls noLocks(CallLock);
  testing::TestPartResultArray found;
  {
    const testing::ScopedFakeTestPartResultReporter reporter(&found);
    Meet(MakeMeetings()[1]);
  }
  EXPECT_GT(found.size(), 0);
}

}  // namespace
}  // namespace Tests
