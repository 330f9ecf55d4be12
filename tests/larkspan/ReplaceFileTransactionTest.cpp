#include <filesystem>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/FileTransactionException.h"
#include "Larkspan/Common/IO/ReplaceFileTransaction.h"
#include "foundation/Vx/IOException.h"
#include "tests/support/TemporaryFolder.h"

namespace Tests {
namespace {

namespace fs = std::filesystem;
using namespace Larkspan::Common::IO;

class ReplaceFile : public testing::Test {
 protected:
  void Replace(const char* name) {
    ReplaceFileTransaction transaction(folder.At(name));
    transaction.GetChannel().Write("new");
    EXPECT_TRUE(transaction.HasKeptOwner());
    transaction.Commit();
  }
  std::size_t CountItems() const {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(folder.GetPath()), fs::directory_iterator()));
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
    EXPECT_EQ(CountItems(), 1U);
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
  EXPECT_EQ(CountItems(), 2U);
}

}  // namespace
}  // namespace Tests
