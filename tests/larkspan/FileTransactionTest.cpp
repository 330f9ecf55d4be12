#include <cerrno>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/CreateFileTransaction.h"
#include "Larkspan/Common/IO/IOUtilities.h"
#include "Larkspan/Common/IO/UpdateFileTransaction.h"
#include "foundation/IO/Status.h"
#include "foundation/Vx/DebugOutput.h"
#include "tests/support/ExpectFailures.h"
#include "tests/support/FileFault.h"
#include "tests/support/SleepRecord.h"
#include "tests/support/TemporaryFolder.h"

namespace Tests {
namespace {

using namespace Larkspan::Common::IO;
namespace fs = std::filesystem;
using Names = std::vector<std::string>;

void Finish(FileTransaction& transaction, bool commit) {
  if (commit) {
    transaction.Commit();
  } else {
    transaction.Abort();
  }
}

class Files : public testing::Test {
 protected:
  // What an operation on the item `name` fails with; `reason` begins with a colon.
  [[nodiscard]] std::string Failed(const std::string& operation, const char* name, int status,
                                   const std::string& reason = "") const {
    Vx::UniString path;
    EXPECT_EQ(folder.At(name).ToPath(path), 0);
    return "IOException: Failed to " + operation + ": " + path.ToUTF8() + reason +
           ". (Error code: " + std::to_string(status) + ")";
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
  const struct {
    std::function<void(const IO::Location&)> work;
    const char* name;
    std::string failure;
  } rows[] = {
      {from(Exists), "missing", ""},
      {from(IsFile), "missing", type},
      {from(IsFolder), "missing", type},
      {from(GetFileSize), "missing", Failed("get size of file", "missing", IO::StatusFileNotFound)},
      {from(CreateFolder), "file/a", Failed("create folder", "file/a", IO::StatusNotAFolder)},
      {from(CreateParentFolder), "file/a/b",
       Failed("create parent folder of location", "file/a/b", IO::StatusNotAFolder)},
      {[](const IO::Location& at) { Delete(at); }, "missing",
       Failed("delete file", "missing", IO::StatusNotFound)},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    EXPECT_EQ(FailureOf([&] { row.work(IO::Location()); }), invalid + "empty.");
    EXPECT_EQ(FailureOf([&] { row.work(IO::Location(u"a")); }), invalid + "not valid.");
    EXPECT_EQ(FailureOf([&] { row.work(folder.At(row.name)); }), row.failure);
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
  EXPECT_TRUE(IsFolder(made));
  EXPECT_FALSE(IsFile(made));
  EXPECT_TRUE(IsFile(inside));
  EXPECT_FALSE(IsFolder(inside));
  EXPECT_EQ(GetFileSize(inside), 5U);
  EXPECT_FALSE(Exists(folder.At("a/b/file/below")));
}

TEST_F(Files, DeniedDeletionIsTriedAgainSoManyTimes) {
  const std::string denied =
      Failed("delete file", "model.dat", IO::StatusAccessDenied, ": access denied");
  const struct {
    std::function<void()> work;
    unsigned int denials;
    std::string failure;
    std::vector<long> sleeps;
  } rows[] = {
      {[&] { Delete(file, 0, 1250); }, 1, denied, {}},
      {[&] { Delete(file, 2, 1250); }, 2, "", {1250, 1250}},
      {[&] { Delete(file, 2, 1250); }, 3, denied, {1250, 1250}},
      {[&] { Delete(file); }, 5, "", {250, 250, 250, 250, 250}},
      {[&] { Delete(file); }, 6, denied, {250, 250, 250, 250, 250}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    folder.Write("model.dat", "");
    const FileFault fault(CallRemove, EACCES, 0, row.denials);
    const SleepRecord record;
    EXPECT_EQ(FailureOf(row.work), row.failure);
    EXPECT_EQ(record.sleeps, row.sleeps);
  }
}

TEST_F(Files, TransactionIsFinishedOnceAndLeavesTheOldOrTheNewFile) {
  struct {
    const char* kind;
    const char* old;      // content before, null for no file
    const char* written;  // content meanwhile, null for none
    bool backupGoes;      // somebody removes the backup meanwhile
    bool commit;
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
    Finish(*transaction, row.commit);
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
  const std::string full = Failed("delete file", "full", IO::StatusFolderNotEmpty);
  ExpectFailures({
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
       ""},
  });
  EXPECT_EQ(folder.Read("stale"), "new");
  EXPECT_TRUE(UpdateFileTransaction::Recover(stale));
  EXPECT_EQ(folder.Read("stale"), "old");
  EXPECT_EQ(folder.Read("stale.bak"), "(missing)");
  EXPECT_FALSE(UpdateFileTransaction::Recover(folder.At(std::string(254, 'n'))));
  Vx::SetDebugSink([](const char* text, std::size_t size) { told.append(text, size); });
  EXPECT_EQ(FailureOf([&] { CreateFileTransaction{folder.At("full")}; }), "");
  Vx::SetDebugSink(nullptr);
  EXPECT_NE(told.find("Failed to abort create file transaction."), told.npos);
}

}  // namespace
}  // namespace Tests
