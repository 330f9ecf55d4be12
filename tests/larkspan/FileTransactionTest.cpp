#include <cerrno>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/FileTransactionException.h"
#include "Larkspan/Common/IO/IOUtilities.h"
#include "Larkspan/Common/IO/ReplaceFileTransaction.h"
#include "Larkspan/Common/IO/UpdateFileTransaction.h"
#include "foundation/Vx/IOException.h"
#include "tests/support/FailureOf.h"
#include "tests/support/FileFault.h"
#include "tests/support/TemporaryFolder.h"

namespace Tests {
namespace {

using namespace Larkspan::Common::IO;
namespace fs = std::filesystem;
using Names = std::vector<std::string>;

const std::string failed = "FileTransactionException: Failed to ";

TEST(Folders, AreMadeForFiles) {
  const TemporaryFolder folder;
  CreateParentFolder(folder.At("a/b/file"));
  CreateFolder(folder.At("a/c"));
  EXPECT_TRUE(IsFolder(folder.At("a/b")));
  EXPECT_TRUE(IsFolder(folder.At("a/c")));
  EXPECT_FALSE(Exists(folder.At("a/b/file")));
}

// What happens to a backup besides the transaction that made it.
class Backup : public testing::Test {
 protected:
  [[nodiscard]] std::string FailureOfRecover() const {
    return FailureOf([this] { UpdateFileTransaction::Recover(file); });
  }

  const TemporaryFolder folder;
  const IO::Location file = folder.At("f");
};

TEST_F(Backup, HasToBeRestoredBeforeAnotherUpdateBegins) {
  folder.Write("f.bak", "old");
  EXPECT_EQ(FailureOf([this] { UpdateFileTransaction{file}; }),
            failed +
                "start update file transaction: backup file of an unfinished update has to be "
                "restored by Recover first.");
  EXPECT_EQ(folder.GetNames(), Names{"f.bak"});
  EXPECT_TRUE(UpdateFileTransaction::Recover(file));
  UpdateFileTransaction transaction(file);
  folder.Write("f", "new");
  transaction.Commit();
  EXPECT_FALSE(UpdateFileTransaction::Recover(file));
  EXPECT_EQ(folder.Read("f"), "new");
}

TEST_F(Backup, IsNotRestoredWhileItsTransactionIsOpen) {
  for (const std::string old : {"file", "link"}) {
    SCOPED_TRACE(old);
    folder.Write("f", "old");
    if (old == "link") {
      fs::rename(folder.GetPath() / "f", folder.GetPath() / "target");
      fs::create_symlink("target", folder.GetPath() / "f");
    }
    UpdateFileTransaction transaction(file);
    folder.Write("f", "new");
    EXPECT_EQ(FailureOfRecover(),
              failed + "recover update file transaction: update file transaction is still open.");
    transaction.Commit();
    EXPECT_EQ(folder.Read("f"), "new");
  }
}

TEST_F(Backup, OutlivesACommitThatFailed) {
  const std::string commit = failed + "commit update file transaction: ";
  const std::string failedToSync = commit + "failed to put file on disk.";
  const std::string again = commit + "an earlier attempt failed to put file on disk.";
  const std::tuple<unsigned int, std::string, std::string, const char*> rows[] = {
      // A sync is never tried again: the system counts what it could not write as written.
      {CallSyncData, failedToSync, again, "old"},
      {CallSync, failedToSync, again, "old"},
      {CallOpen, failedToSync, "", "new"},
      {CallRemove, commit + "failed to delete backup file.", "", "new"}};
  for (const auto& [call, first, second, content] : rows) {
    SCOPED_TRACE(first);
    folder.Write("f", "old");
    {
      UpdateFileTransaction transaction(file);
      folder.Write("f", "new");
      {
        const FileFault fault(call, EIO, 0, 1);
        EXPECT_EQ(FailureOf([&] { transaction.Commit(); }), first);
      }
      EXPECT_FALSE(transaction.IsCommitted());
      EXPECT_EQ(folder.Read("f.bak"), "old");
      EXPECT_EQ(FailureOf([&] { transaction.Commit(); }), second);
    }
    EXPECT_EQ(folder.Read("f"), content);
    EXPECT_EQ(folder.GetNames(), Names{"f"});
  }
}

class ReplaceFile : public testing::Test {
 protected:
  void Replace(const char* name) {
    ReplaceFileTransaction transaction(folder.At(name));
    transaction.GetChannel().Write("new");
    EXPECT_TRUE(transaction.HasKeptOwner());
    transaction.Commit();
  }

  const TemporaryFolder folder;
};

TEST_F(ReplaceFile, TheOldFileStandsUntilTheCommitAndAfterAnAbort) {
  for (const bool commit : {false, true}) {
    folder.Write("f", "old");
    ReplaceFileTransaction transaction(folder.At("f"));
    transaction.GetChannel().Write("new");
    EXPECT_EQ(folder.Read("f"), "old");
    commit ? transaction.Commit() : transaction.Abort();
    EXPECT_THROW(transaction.GetChannel().Write("more"), Vx::IOException);
    EXPECT_EQ(folder.Read("f"), commit ? "new" : "old");
    EXPECT_THROW(transaction.Commit(), FileTransactionException);
    EXPECT_THROW(transaction.Abort(), FileTransactionException);
    EXPECT_EQ(folder.GetNames().size(), 1U);
  }
}

TEST_F(ReplaceFile, ModeStaysAndLinksAreFollowed) {
  folder.Write("f", "old");
  fs::permissions(folder.GetPath() / "f", fs::perms(0640));
  fs::create_symlink("f", folder.GetPath() / "link");
  Replace("link");
  EXPECT_EQ(folder.Read("f"), "new");
  EXPECT_TRUE(fs::is_symlink(folder.GetPath() / "link"));
  EXPECT_EQ(fs::status(folder.GetPath() / "f").permissions(), fs::perms(0640));
  Replace("made");
  EXPECT_EQ(folder.Read("made"), "new");
}

TEST_F(ReplaceFile, WhatIsNoFileIsRefused) {
  fs::create_symlink("nowhere", folder.GetPath() / "dangling");
  fs::create_directory(folder.GetPath() / "folder");
  for (const char* name : {"dangling", "folder", "missing/f"}) {
    EXPECT_THROW(ReplaceFileTransaction(folder.At(name)), FileTransactionException) << name;
  }
  EXPECT_EQ(folder.GetNames().size(), 2U);
}

}  // namespace
}  // namespace Tests
