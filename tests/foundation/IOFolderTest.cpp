#include <cerrno>
#include <filesystem>
#include <memory>
#include <set>
#include <signal.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "foundation/IO/File.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/IO/Folder.h"
#include "tests/support/FileFault.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using IO::Folder;
using IO::Name;
using IO::OnNotFound;
using namespace Tests;

// All calls but the one that the slow road makes in vain.
constexpr unsigned int CallOther = CallAny & ~CallRename2;
constexpr auto Report = IO::AccessDeniedTreatment::Report;

int Exchange(const TemporaryFolder& folder) {
  Folder opened(folder.GetLocation(), OnNotFound::Fail);
  return opened.Exchange(Name(u"first"), Name(u"second"), Report);
}

// Each test runs on the road of one step, and on the one for file systems that have no such step.
class IOFolderExchange : public testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    Refill();
    if (GetParam() != 0) noSwap = std::make_unique<FileFault>(CallRename2, GetParam());
  }
  void Refill() const {
    folder.Write("first", "old");
    folder.Write("second", "new");
  }
  void ExpectContents(const char* first, const char* second) const {
    EXPECT_EQ(folder.Read("first"), first);
    EXPECT_EQ(folder.Read("second"), second);
    EXPECT_EQ(folder.GetNames(), (std::vector<std::string>{"first", "second"}));
  }

  TemporaryFolder folder;
  std::unique_ptr<FileFault> noSwap;
};

TEST_P(IOFolderExchange, TwoFilesSwapTheirNames) {
  EXPECT_EQ(Exchange(folder), 0);
  ExpectContents("new", "old");
}

TEST_P(IOFolderExchange, AFailureOfAnyStepLeavesBothAsTheyWere) {
  for (unsigned int step = 0;; ++step) {
    SCOPED_TRACE(step);
    Refill();
    const FileFault fault(CallOther, EIO, step, 1);
    const bool swapped = Exchange(folder) == 0;
    if (!fault.HasStruck()) break;
    // Steps that only tidy up may fail without a word, once the swap is done.
    ExpectContents(swapped ? "new" : "old", swapped ? "old" : "new");
    ASSERT_LT(step, 20U);
  }
}

TEST_P(IOFolderExchange, AKillAtAnyStepLeavesACompleteFileUnderTheFirstName) {
  std::set<std::string> seen;
  bool finished = false;
  for (unsigned int step = 0; !finished; ++step) {
    SCOPED_TRACE(step);
    ASSERT_LT(step, 30U);
    Refill();
    const pid_t child = ::fork();
    if (child == 0) {
      const FileFault kill(GetParam() == 0 ? CallAny : CallOther, FileFault::Kill, step);
      ::_exit(Exchange(folder) == 0 ? 0 : 1);
    }
    int result = -1;
    ASSERT_EQ(::waitpid(child, &result, 0), child);
    finished = WIFEXITED(result);
    EXPECT_TRUE(finished ? result == 0 : WTERMSIG(result) == SIGKILL) << result;
    const std::string first = folder.Read("first");
    EXPECT_TRUE(first == "old" || first == "new") << first;
    seen.insert(first);
    // What the kill left behind stands in nobody's way.
    folder.Write("second", "next");
    EXPECT_EQ(Exchange(folder), 0);
    EXPECT_EQ(folder.Read("first"), "next");
    EXPECT_EQ(folder.Read("second"), first);
    std::filesystem::remove(folder.GetPath() / ".exchange-00");
  }
  EXPECT_EQ(seen.size(), 2U);
}

TEST_P(IOFolderExchange, ContentIsOnTheDiskBeforeTheNamesChange) {
  for (unsigned int file = 0; file < 2; ++file) {
    const FileFault noSync(CallSync, EIO, file);
    const FileFault noChange(CallRename | CallRename2 | CallLink, ENOSPC);
    EXPECT_EQ(Exchange(folder), IO::StatusFailed);
    EXPECT_FALSE(noChange.HasStruck());
  }
}

TEST_P(IOFolderExchange, AFailedSyncOfTheFolderIsUndoneAndNotTriedAgain) {
  const FileFault once(CallSync, EIO, 2, 1);
  const FileFault again(CallSync, ENOSPC, 3);
  EXPECT_EQ(Exchange(folder), IO::StatusFailed);
  EXPECT_FALSE(again.HasStruck());
  ExpectContents("old", "new");
}

TEST_P(IOFolderExchange, WhatCannotBeSwappedIsLeftAlone) {
  Folder opened(folder.GetLocation(), OnNotFound::Fail);
  for (const char16_t* bad : {u"missing", u"first", u"..", u"", u"sub\\second", u"/etc/passwd"}) {
    EXPECT_NE(opened.Exchange(Name(u"first"), Name(bad), Report), 0);
    EXPECT_NE(opened.Exchange(Name(bad), Name(u"first"), Report), 0);
  }
  ExpectContents("old", "new");
}

TEST_P(IOFolderExchange, TwoNamesOfOneFileLeaveNoThird) {
  std::filesystem::remove(folder.GetPath() / "second");
  std::filesystem::create_hard_link(folder.GetPath() / "first", folder.GetPath() / "second");
  EXPECT_EQ(Exchange(folder), 0);
  ExpectContents("old", "old");
}

INSTANTIATE_TEST_SUITE_P(Roads, IOFolderExchange, testing::Values(0, EINVAL, EOPNOTSUPP));

TEST(IOFolder, StatusTellsWhetherTheFolderIsThere) {
  const TemporaryFolder folder;
  folder.Write("f", "");
  const struct {
    IO::Location location;
    OnNotFound onNotFound;
    int status;
    bool usable;
  } rows[] = {{folder.GetLocation(), OnNotFound::Fail, 0, true},
              {folder.At("missing"), OnNotFound::Fail, IO::StatusNotFound, false},
              {folder.At("missing"), OnNotFound::Ignore, 0, false},
              {folder.At("f"), OnNotFound::Fail, IO::StatusNotAFolder, false},
              {IO::Location(u"x"), OnNotFound::Ignore, IO::StatusInvalidLocation, false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    Folder opened(row.location, row.onNotFound);
    EXPECT_EQ(opened.GetStatus(), row.status);
    Folder::Names names;
    EXPECT_EQ(opened.GetNames(names) == 0, row.usable);
    EXPECT_EQ(opened.Flush() == 0, row.usable);
  }
}

TEST(IOFolder, NamesOfAnyBytesAreListedAndLeadBack) {
  const TemporaryFolder folder;
  for (const char* name : {"a b", "\xC3\xA9", "\xFF", "\xC3(", "back\\slash", "\xED\xA0\x80"}) {
    folder.Write(name, "");
  }
  const Folder opened(folder.GetLocation(), OnNotFound::Fail);
  Folder::Names names;
  ASSERT_EQ(opened.GetNames(names), 0);
  ASSERT_EQ(opened.GetNames(names), 0);  // from the start again, not added
  EXPECT_EQ(names.size(), 6U);
  for (const Vx::UniString& name : names) {
    IO::Location location = folder.GetLocation();
    ASSERT_EQ(location.AppendToLocal(Name(name)), 0);
    EXPECT_EQ(IO::fileSystem.Delete(location, IO::DataSafety::None, Report), 0);
  }
  EXPECT_TRUE(folder.GetNames().empty());
}

}  // namespace
