#include <cerrno>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/CreateFileTransaction.h"
#include "Larkspan/Common/IO/IOUtilities.h"
#include "Larkspan/Common/IO/UpdateFileTransaction.h"
#include "foundation/Vx/DebugOutput.h"
#include "tests/support/AllocationFault.h"
#include "tests/support/SleepRecord.h"
#include "tests/support/SystemCallSweep.h"
#include "tests/support/TemporaryFolder.h"

namespace Tests {
namespace {

using Larkspan::Common::IO::CreateFileTransaction;
using Larkspan::Common::IO::UpdateFileTransaction;
namespace Io = Larkspan::Common::IO;
using Names = std::vector<std::string>;

class Files : public testing::Test {
 protected:
  [[nodiscard]] std::string PathOf(const char* name) const {
    Vx::UniString path;
    EXPECT_EQ(folder.At(name).ToPath(path), 0);
    return path.ToUTF8();
  }

  const TemporaryFolder folder;
  const IO::Location file = folder.At("model.dat");
};

TEST_F(Files, QuestionsAndCommandsSayWhatIsWrong) {
  folder.Write("file", "12345");
  const std::string question = "IOException: Failed to determine the type of location.";
  const std::string invalid = "IllegalArgumentException: Invalid location: location is ";
  const std::tuple<std::function<void(const IO::Location&)>, std::string, std::string> rows[] = {
      {[](auto& at) { static_cast<void>(Io::Exists(at)); }, "", ""},
      {[](auto& at) { static_cast<void>(Io::IsFile(at)); }, question, question},
      {[](auto& at) { static_cast<void>(Io::IsFolder(at)); }, question, question},
      {[](auto& at) { static_cast<void>(Io::GetFileSize(at)); },
       "IOException: Failed to get size of file: %. (Error code: -2130640640)",
       "IOException: Failed to get size of file: %. (Error code: -2130640640)"},
      {[](auto& at) { Io::CreateParentFolder(at); }, "", ""},
      {[](auto& at) { Io::CreateFolder(at); }, "",
       "IOException: Failed to create folder: %. (Error code: -2130640381)"},
      {[](auto& at) { Io::Delete(at); },
       "IOException: Failed to delete file: %. (Error code: -2130640384)",
       "IOException: Failed to delete file: %. (Error code: -2130640381)"}};
  for (const auto& [work, missing, below] : rows) {
    EXPECT_EQ(FailureOf([&] { work(IO::Location()); }), invalid + "empty.");
    EXPECT_EQ(FailureOf([&] { work(IO::Location(u"no path")); }), invalid + "not valid.");
    for (const auto& [name, expected] : {std::pair("missing", missing), {"file/below", below}}) {
      std::string failure = expected;
      if (const auto place = failure.find('%'); place != failure.npos) {
        failure.replace(place, 1, PathOf(name));
      }
      EXPECT_EQ(FailureOf([&] { work(folder.At(name)); }), failure);
    }
    std::filesystem::remove(folder.GetPath() / "missing");
  }
  EXPECT_EQ(FailureOf([&] { Io::CreateParentFolder(folder.At("file/a/b")); }),
            "IOException: Failed to create parent folder of location: " + PathOf("file/a/b") +
                ". (Error code: -2130640381)");
  EXPECT_EQ(FailureOf([] { Io::CreateParentFolder(IO::Location(u"\\")); }), "");
}

TEST_F(Files, QuestionsAreAnsweredAndFoldersMade) {
  Io::CreateParentFolder(folder.At("a/b/file"));
  Io::CreateFolder(folder.At("a/b"));
  folder.Write("a/b/file", "12345");
  Io::CreateFolder(folder.At("a/b/file"));
  EXPECT_TRUE(Io::IsFolder(folder.At("a/b")) && !Io::IsFile(folder.At("a/b")));
  EXPECT_TRUE(Io::IsFile(folder.At("a/b/file")) && !Io::IsFolder(folder.At("a/b/file")));
  EXPECT_EQ(Io::GetFileSize(folder.At("a/b/file")), 5U);
  EXPECT_FALSE(Io::Exists(folder.At("a/b/file/below")));
}

TEST_F(Files, DeniedDeletionIsTriedAgainSoManyTimes) {
  const std::tuple<unsigned int, unsigned int, std::size_t> rows[] = {
      {0, 1, 0}, {2, 2, 2}, {2, 3, 2}, {5, 100, 5}, {5, 0, 0}};
  for (const auto& [retries, denied, sleeps] : rows) {
    folder.Write("model.dat", "");
    const FileFault fault(CallRemove, EACCES, 0, denied);
    SleepRecord record;
    const std::string failure = FailureOf([&] {
      if (retries == 5) return Io::Delete(file);
      Io::Delete(file, retries, 1250);
    });
    EXPECT_EQ(failure, denied <= retries
                           ? ""
                           : "IOException: Failed to delete file: " + PathOf("model.dat") +
                                 ": access denied. (Error code: -2130640382)");
    EXPECT_EQ(record.sleeps, std::vector<long>(sleeps, retries == 5 ? 250 : 1250));
    EXPECT_EQ(Io::Exists(file), denied > retries);
  }
}

template <class Transaction>
class FinishedTransaction : public Files {};
using Transactions = testing::Types<CreateFileTransaction, UpdateFileTransaction>;
TYPED_TEST_SUITE(FinishedTransaction, Transactions);

TYPED_TEST(FinishedTransaction, RefusesToBeFinishedAgainAndLeavesTheFileAlone) {
  const std::string kind = std::is_same_v<TypeParam, CreateFileTransaction> ? "create" : "update";
  for (const bool commit : {true, false}) {
    this->folder.Write("model.dat", "old");
    {
      TypeParam transaction(this->file);
      this->folder.Write("model.dat", "new");
      commit ? transaction.Commit() : transaction.Abort();
      EXPECT_EQ(transaction.IsCommitted(), commit);
      EXPECT_EQ(transaction.IsAborted(), !commit);
      for (const std::string verb : {"commit", "abort"}) {
        EXPECT_EQ(FailureOf([&] { verb == "commit" ? transaction.Commit() : transaction.Abort(); }),
                  "FileTransactionException: Failed to " + verb + " " + kind +
                      " file transaction: " + kind + " file transaction has already been " +
                      (commit ? "committed." : "aborted."));
      }
    }
    EXPECT_EQ(this->folder.Read("model.dat"),
              commit ? "new" : (kind == "create" ? "(missing)" : "old"));
    EXPECT_EQ(this->folder.Read("model.dat.bak"), "(missing)");
  }
  const std::string invalid = "IllegalArgumentException: Invalid file location: location is ";
  EXPECT_EQ(FailureOf([] { TypeParam{IO::Location()}; }), invalid + "empty.");
  EXPECT_EQ(FailureOf([] { TypeParam{IO::Location(u"no path")}; }), invalid + "not valid.");
}

TEST_F(Files, UpdateEndsWithTheOldOrTheNewFile) {
  struct {
    const char *old, *written;
    bool backupGoes, commit;
    const char* expected;
  } const rows[] = {
      {"old", "new", false, true, "new"},      {"old", "new", false, false, "old"},
      {"old", nullptr, false, false, "old"},   {"old", nullptr, false, true, nullptr},
      {"old", "new", true, true, "new"},       {"old", "new", true, false, nullptr},
      {nullptr, "new", false, true, "new"},    {nullptr, "new", false, false, nullptr},
      {nullptr, nullptr, false, true, nullptr}};
  for (const auto& row : rows) {
    std::filesystem::remove(folder.GetPath() / "model.dat");
    if (row.old != nullptr) folder.Write("model.dat", row.old);
    {
      UpdateFileTransaction transaction(file);
      EXPECT_EQ(folder.GetNames(), row.old != nullptr ? Names{"model.dat.bak"} : Names{});
      if (row.written != nullptr) folder.Write("model.dat", row.written);
      if (row.backupGoes) Io::Delete(folder.At("model.dat.bak"));
      if (row.commit) transaction.Commit();
    }
    EXPECT_EQ(folder.GetNames(), row.expected != nullptr ? Names{"model.dat"} : Names{});
    EXPECT_EQ(folder.Read("model.dat"), row.expected != nullptr ? row.expected : "(missing)");
    EXPECT_FALSE(UpdateFileTransaction::Recover(file));
  }
}

TEST_F(Files, BackupThatStandsThereIsNotReplacedUntilItIsRecovered) {
  folder.Write("model.dat", "new");
  folder.Write("model.dat.bak", "old");
  EXPECT_EQ(FailureOf([&] { UpdateFileTransaction{file}; }),
            "FileTransactionException: Failed to start update file transaction: failed to create "
            "backup file.");
  EXPECT_EQ(folder.Read("model.dat") + folder.Read("model.dat.bak"), "newold");
  EXPECT_TRUE(UpdateFileTransaction::Recover(file));
  EXPECT_EQ(folder.Read("model.dat"), "old");
  EXPECT_EQ(folder.GetNames(), Names{"model.dat"});
}

TEST_F(Files, FailedCommitKeepsBothFilesAndStaysOpen) {
  const std::string failed = "FileTransactionException: Failed to commit update file transaction: ";
  const std::tuple<unsigned int, int, std::string> rows[] = {
      {CallSyncData, EIO, failed + "failed to put file on disk."},
      {CallSync, EIO, failed + "failed to put file on disk."},
      {CallRemove, EIO, failed + "failed to delete backup file."}};
  for (const auto& [call, error, expected] : rows) {
    folder.Write("model.dat", "old");
    UpdateFileTransaction transaction(file);
    folder.Write("model.dat", "new");
    {
      const FileFault fault(call, error);
      EXPECT_EQ(FailureOf([&] { transaction.Commit(); }), expected);
    }
    EXPECT_FALSE(transaction.IsCommitted());
    EXPECT_EQ(folder.Read("model.dat") + folder.Read("model.dat.bak"), "newold");
    transaction.Commit();
    EXPECT_EQ(folder.GetNames(), Names{"model.dat"});
  }
}

TEST_F(Files, DestructorTellsTheDebugOutputOfItsFailureAndNobodyElse) {
  static std::string told;
  Vx::SetDebugSink([](const char* text, std::size_t size) { told.append(text, size); });
  {
    const CreateFileTransaction transaction(file);
    std::filesystem::create_directory(folder.GetPath() / "model.dat");
    folder.Write("model.dat/below", "");
  }
  Vx::SetDebugSink(nullptr);
  EXPECT_NE(told.find("Failed to abort create file transaction."), told.npos);
}

// An update as a host does it, in one piece. `moves`: whether the file system has a step that moves
// a file without replacing.
void Update(const TemporaryFolder& folder, const IO::Location& file, bool commit, bool moves) {
  const FileFault noMove(CallRename2, EINVAL, 0, moves ? 0 : FileFault::Always);
  UpdateFileTransaction transaction(file);
  folder.Write("model.dat", "new");
  commit ? transaction.Commit() : transaction.Abort();
}

TEST_F(Files, FailureOfAnyCallOrAllocationLosesNoFile) {
  const auto check = [&](const std::string& failure, bool) {
    UpdateFileTransaction::Recover(file);
    const std::string content = folder.Read("model.dat");
    EXPECT_TRUE(content == "new" || content == "old") << failure << content;
    EXPECT_EQ(folder.GetNames(), Names{"model.dat"});
    folder.Write("model.dat", "old");
  };
  folder.Write("model.dat", "old");
  for (const bool commit : {true, false}) {
    const auto run = [&] { Update(folder, file, commit, true); };
    FailEachCall(CallAny & ~(CallWrite | CallRemove), run, check);
    for (int n = 1, fired = 1; fired != 0; ++n) {
      std::string failure;
      {
        const Larkspan::Testing::AllocationFault fault(n);
        failure = FailureOf(run);
        fired = fault.HasFired();
      }
      check(failure, true);
    }
  }
}

TEST_F(Files, KilledBeforeAnySystemCallTheUpdateIsUndoneOrWhole) {
  for (const auto& [commit, moves] : {std::pair(true, true), {false, true}, {true, false}}) {
    bool killed = true;
    for (unsigned int skip = 0; killed; ++skip) {
      bool killedAgain = true;
      for (unsigned int again = 0; killedAgain; ++again) {
        std::filesystem::remove(folder.GetPath() / "model.dat.bak");
        folder.Write("model.dat", "old");
        killed = KillBeforeCall(skip, [&] { Update(folder, file, commit, moves); });
        killedAgain = KillBeforeCall(again, [&] { UpdateFileTransaction::Recover(file); });
        UpdateFileTransaction::Recover(file);
        EXPECT_EQ(folder.GetNames(), Names{"model.dat"}) << skip;
        const std::string content = folder.Read("model.dat");
        EXPECT_TRUE(content == "old" || (commit && content == "new")) << skip << content;
        EXPECT_TRUE(killed || content == (commit ? "new" : "old"));
      }
    }
  }
}

}  // namespace
}  // namespace Tests
