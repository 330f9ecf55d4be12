#include <cerrno>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/CreateFileTransaction.h"
#include "Larkspan/Common/IO/IOUtilities.h"
#include "Larkspan/Common/IO/UpdateFileTransaction.h"
#include "foundation/Vx/DebugOutput.h"
#include "tests/support/SleepRecord.h"
#include "tests/support/SystemCallSweep.h"
#include "tests/support/TemporaryFolder.h"

namespace Tests {
namespace {

using namespace Larkspan::Common::IO;
namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class Files : public testing::Test {
 protected:
  [[nodiscard]] static std::string PathOf(const IO::Location& location) {
    Vx::UniString path;
    EXPECT_EQ(location.ToPath(path), 0);
    return path.ToUTF8();
  }
  void ExpectAlone(const std::string& content) const {
    EXPECT_EQ(folder.GetNames(), content == "(missing)" ? Names{} : Names{"model.dat"});
    EXPECT_EQ(folder.Read("model.dat"), content);
  }

  const TemporaryFolder folder;
  const IO::Location file = folder.At("model.dat");
};

TEST_F(Files, QuestionsAndCommandsSayWhatIsWrong) {
  folder.Write("file", "");
  const std::string type = "IOException: Failed to determine the type of location.";
  const std::string invalid = "IllegalArgumentException: Invalid location: location is ";
  const auto from = [](auto function) {
    return [function](const IO::Location& at) { static_cast<void>(function(at)); };
  };
  const std::tuple<std::function<void(const IO::Location&)>, const char*, std::string> rows[] = {
      {from(Exists), "missing", ""},
      {from(IsFile), "missing", type},
      {from(IsFolder), "missing", type},
      {from(GetFileSize), "missing", "get size of file: %. (Error code: -2130640640)"},
      {from(CreateFolder), "file/a", "create folder: %. (Error code: -2130640381)"},
      {from(CreateParentFolder), "file/a/b",
       "create parent folder of location: %. (Error code: -2130640381)"},
      {[](const IO::Location& at) { Delete(at); }, "missing",
       "delete file: %. (Error code: -2130640384)"}};
  for (auto [work, name, failure] : rows) {
    EXPECT_EQ(FailureOf([&, run = work] { run(IO::Location()); }), invalid + "empty.");
    EXPECT_EQ(FailureOf([&, run = work] { run(IO::Location(u"a")); }), invalid + "not valid.");
    if (const auto place = failure.find('%'); place != failure.npos) {
      failure = "IOException: Failed to " + failure.replace(place, 1, PathOf(folder.At(name)));
    }
    EXPECT_EQ(FailureOf([&, run = work, at = folder.At(name)] { run(at); }), failure);
  }
}

TEST_F(Files, QuestionsAreAnsweredAndFoldersMade) {
  const IO::Location made = folder.At("a/b");
  const IO::Location inside = folder.At("a/b/file");
  CreateParentFolder(IO::Location(u"\\"));
  CreateParentFolder(inside);
  CreateFolder(made);
  folder.Write("a/b/file", "12345");
  CreateFolder(inside);
  EXPECT_TRUE(IsFolder(made) && !IsFile(made) && IsFile(inside) && !IsFolder(inside));
  EXPECT_EQ(GetFileSize(inside), 5U);
  EXPECT_FALSE(Exists(folder.At("a/b/file/below")));
}

TEST_F(Files, DeniedDeletionIsTriedAgainSoManyTimes) {
  for (const auto& [retries, denied] : {std::pair(0U, 1U), {2U, 2U}, {2U, 3U}, {5U, 9U}}) {
    folder.Write("model.dat", "");
    const FileFault fault(CallRemove, EACCES, 0, denied);
    SleepRecord record;
    const long delay = retries == 5 ? 250 : 1250;
    const auto work = [&, most = retries] { most == 5 ? Delete(file) : Delete(file, most, 1250); };
    const std::string failure = "IOException: Failed to delete file: " + PathOf(file) +
                                ": access denied. (Error code: -2130640382)";
    EXPECT_EQ(FailureOf(work), denied > retries ? failure : "");
    EXPECT_EQ(record.sleeps, std::vector<long>(std::min(denied, retries), delay));
  }
}

TEST_F(Files, TransactionIsFinishedOnceAndLeavesTheOldOrTheNewFile) {
  struct {
    const char *kind, *old, *written;
    bool backupGoes, commit;
    std::string expected;
  } const rows[] = {{"update", "old", "new", false, true, "new"},
                    {"update", "old", "new", false, false, "old"},
                    {"update", "old", nullptr, false, true, "(missing)"},
                    {"update", "old", nullptr, false, false, "old"},
                    {"update", "old", "new", true, true, "new"},
                    {"update", "old", "new", true, false, "(missing)"},
                    {"update", nullptr, "new", false, true, "new"},
                    {"update", nullptr, "new", false, false, "(missing)"},
                    {"update", nullptr, nullptr, false, true, "(missing)"},
                    {"create", nullptr, "new", false, true, "new"},
                    {"create", "old", "new", false, false, "(missing)"},
                    {"create", nullptr, nullptr, false, false, "(missing)"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    const std::string kind = row.kind;
    fs::remove(folder.GetPath() / "model.dat");
    if (row.old != nullptr) folder.Write("model.dat", row.old);
    std::unique_ptr<FileTransaction> transaction;
    if (kind == "create") {
      transaction = std::make_unique<CreateFileTransaction>(file);
    } else {
      transaction = std::make_unique<UpdateFileTransaction>(file);
      EXPECT_EQ(folder.GetNames(), row.old != nullptr ? Names{"model.dat.bak"} : Names{});
    }
    if (row.written != nullptr) folder.Write("model.dat", row.written);
    if (row.backupGoes) Delete(folder.At("model.dat.bak"));
    row.commit ? transaction->Commit() : transaction->Abort();
    EXPECT_EQ(transaction->IsCommitted(), row.commit);
    EXPECT_EQ(transaction->IsAborted(), !row.commit);
    const std::string already = " file transaction: " + kind +
                                " file transaction has already been " +
                                (row.commit ? "committed." : "aborted.");
    const std::string failed = "FileTransactionException: Failed to ";
    EXPECT_EQ(FailureOf([&] { transaction->Commit(); }), failed + "commit " + kind + already);
    EXPECT_EQ(FailureOf([&] { transaction->Abort(); }), failed + "abort " + kind + already);
    transaction.reset();
    ExpectAlone(row.expected);
    EXPECT_FALSE(UpdateFileTransaction::Recover(file));
  }
}

TEST_F(Files, WhatCannotBeDoneIsReportedWithItsCause) {
  static std::string told;
  const IO::Location stale = folder.At("stale");
  folder.Write("fresh", "");
  folder.Write("stale", "new");
  folder.Write("stale.bak", "old");
  fs::create_directories(folder.GetPath() / "full/below");
  CreateFileTransaction open(folder.At("full"));
  const std::string invalid = "IllegalArgumentException: Invalid file location: location is ";
  const std::string failed = "FileTransactionException: Failed to ";
  const std::string full = "IOException: Failed to delete file: " + PathOf(folder.At("full")) +
                           ". (Error code: -2130640379)";
  const std::tuple<std::function<void()>, std::string, std::string> rows[] = {
      {[] { CreateFileTransaction{IO::Location()}; }, invalid + "empty.", ""},
      {[] { UpdateFileTransaction{IO::Location()}; }, invalid + "empty.", ""},
      {[] { UpdateFileTransaction{IO::Location(u"a")}; }, invalid + "not valid.", ""},
      {[] { UpdateFileTransaction::Recover(IO::Location()); }, invalid + "empty.", ""},
      {[&] { UpdateFileTransaction{stale}; },
       failed + "start update file transaction: failed to create backup file.", ""},
      {[&] {
         const FileFault fault(CallSync, EIO);
         UpdateFileTransaction{folder.At("fresh")};
       },
       failed + "start update file transaction: failed to create backup file.", ""},
      {[&] { UpdateFileTransaction{folder.At(std::string(300, 'n'))}; },
       failed + "start update file transaction.",
       "IOException: Failed to determine the existence of location."},
      {[&] { open.Abort(); }, failed + "abort create file transaction.", full},
      {[&] { open.Abort(); },
       failed + "abort create file transaction: create file transaction has already been aborted.",
       ""}};
  for (const auto& [work, failure, cause] : rows) {
    std::string found;
    EXPECT_EQ(FailureOf(work, &found), failure);
    EXPECT_EQ(found, cause);
  }
  EXPECT_EQ(folder.Read("stale") + folder.Read("stale.bak"), "newold");
  EXPECT_TRUE(UpdateFileTransaction::Recover(stale));
  EXPECT_EQ(folder.Read("stale") + folder.Read("stale.bak"), "old(missing)");
  EXPECT_FALSE(UpdateFileTransaction::Recover(folder.At(std::string(254, 'n'))));
  Vx::SetDebugSink([](const char* text, std::size_t size) { told.append(text, size); });
  EXPECT_EQ(FailureOf([&] { CreateFileTransaction{folder.At("full")}; }), "");
  Vx::SetDebugSink(nullptr);
  EXPECT_NE(told.find("Failed to abort create file transaction."), told.npos);
}

TEST_F(Files, FailedCommitKeepsBothFilesAndStaysOpen) {
  const std::string failed = "FileTransactionException: Failed to commit update file transaction: ";
  const std::string cause =
      "IOException: Failed to delete file: " + PathOf(folder.At("model.dat.bak")) +
      ". (Error code: -2130640896)";
  const std::tuple<unsigned int, std::string, std::string> rows[] = {
      {CallSyncData, failed + "failed to put file on disk.", ""},
      {CallSync, failed + "failed to put file on disk.", ""},
      {CallRemove, failed + "failed to delete backup file.", cause}};
  for (const auto& [call, expected, expectedCause] : rows) {
    folder.Write("model.dat", "old");
    UpdateFileTransaction transaction(file);
    folder.Write("model.dat", "new");
    {
      const FileFault fault(call, EIO);
      std::string found;
      EXPECT_EQ(FailureOf([&] { transaction.Commit(); }, &found), expected);
      EXPECT_EQ(found, expectedCause);
    }
    EXPECT_FALSE(transaction.IsCommitted());
    EXPECT_EQ(folder.Read("model.dat") + folder.Read("model.dat.bak"), "newold");
    transaction.Commit();
    ExpectAlone("new");
  }
}

// An update as a host does it, in one piece. `moves`: whether the file system has a step that moves
// a file without replacing.
class EachUpdateOfAFile : public Files, public testing::WithParamInterface<std::pair<bool, bool>> {
 protected:
  void Update() const {
    const auto [commit, moves] = GetParam();
    const FileFault noMove(CallRename2, EINVAL, 0, moves ? 0 : FileFault::Always);
    UpdateFileTransaction transaction(file);
    folder.Write("model.dat", "new");
    commit ? transaction.Commit() : transaction.Abort();
  }
  // `done`: whether the update got to its end.
  void ExpectOldOrNew(bool done) const {
    UpdateFileTransaction::Recover(file);
    const bool commit = GetParam().first;
    const bool isNew = folder.Read("model.dat") == "new";
    ExpectAlone((done ? commit : commit && isNew) ? "new" : "old");
    folder.Write("model.dat", "old");
  }
};

INSTANTIATE_TEST_SUITE_P(, EachUpdateOfAFile,
                         testing::Values(std::pair(true, true), std::pair(false, true),
                                         std::pair(true, false), std::pair(false, false)));

TEST_P(EachUpdateOfAFile, FailureOfAnyCallOrAllocationLosesNoFile) {
  folder.Write("model.dat", "old");
  const auto run = [this] { Update(); };
  const auto check = [this](const std::string& failure, bool) { ExpectOldOrNew(failure.empty()); };
  FailEachCall(CallAny & ~(CallWrite | CallRemove), run, check);
  FailEachAllocation(run, check);
}

TEST_P(EachUpdateOfAFile, KilledBeforeAnySystemCallItIsUndoneOrWhole) {
  folder.Write("model.dat", "old");
  bool killed = true;
  for (unsigned int skip = 0; killed; ++skip) {
    bool killedAgain = true;
    for (unsigned int again = 0; killedAgain; ++again) {
      killed = KillBeforeCall(skip, [this] { Update(); });
      killedAgain = KillBeforeCall(again, [this] { UpdateFileTransaction::Recover(file); });
      ExpectOldOrNew(!killed);
    }
  }
}

}  // namespace
}  // namespace Tests
