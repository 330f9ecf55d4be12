#include <cerrno>
#include <filesystem>
#include <string>
#include <tuple>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/UpdateFileTransaction.h"
#include "tests/support/FailureOf.h"
#include "tests/support/FileFault.h"
#include "tests/support/TemporaryFolder.h"

namespace Tests {
namespace {

using Larkspan::Common::IO::UpdateFileTransaction;
namespace fs = std::filesystem;
using Names = std::vector<std::string>;

const std::string failed = "FileTransactionException: Failed to ";

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

TEST_F(Backup, IsFreeForRecoverAfterAnAbortThatFailed) {
  folder.Write("f", "old");
  UpdateFileTransaction transaction(file);
  {
    const FileFault fault(CallRename2, EIO);
    EXPECT_EQ(FailureOf([&] { transaction.Abort(); }),
              failed + "abort update file transaction: failed to restore backup file.");
  }
  EXPECT_EQ(FailureOfRecover(), "");
  EXPECT_EQ(folder.Read("f"), "old");
}

TEST_F(Backup, IsNeverAFolder) {
  fs::create_directory(folder.GetPath() / "f.bak");
  EXPECT_FALSE(UpdateFileTransaction::Recover(file));
  UpdateFileTransaction transaction(file);
  folder.Write("f", "new");
  transaction.Commit();
  EXPECT_FALSE(UpdateFileTransaction::Recover(file));
  EXPECT_EQ(folder.GetNames(), (Names{"f", "f.bak"}));
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

// An ordinary user who owns the folder, also where the tests run as the superuser.
class OrdinaryUser final {
 public:
  explicit OrdinaryUser(const fs::path& folder) {
    constexpr uid_t nobody = 65534;
    if (isSuperuser && (::chown(folder.c_str(), nobody, 0) != 0 || ::seteuid(nobody) != 0)) {
      ADD_FAILURE() << "The superuser can't become another user.";
    }
  }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;
  ~OrdinaryUser() { EXPECT_EQ(isSuperuser ? ::seteuid(0) : 0, 0); }

 private:
  const bool isSuperuser = ::geteuid() == 0;
};

TEST_F(Backup, GoesWithTheCommitOfWhatNobodyMayOpenInAFolderThatNobodyMayList) {
  const OrdinaryUser user(folder.GetPath());
  folder.Write("f", "old");
  fs::permissions(folder.GetPath(), fs::perms{0300});
  UpdateFileTransaction transaction(file);
  folder.Write("f", "new");
  fs::permissions(folder.GetPath() / "f", fs::perms::none);
  EXPECT_EQ(FailureOf([&] { transaction.Commit(); }), "");
  fs::permissions(folder.GetPath(), fs::perms::owner_all);
  fs::permissions(folder.GetPath() / "f", fs::perms::owner_all);
  EXPECT_EQ(folder.GetNames(), Names{"f"});
  EXPECT_EQ(folder.Read("f"), "new");
}

}  // namespace
}  // namespace Tests
