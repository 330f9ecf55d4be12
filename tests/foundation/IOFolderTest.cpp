#include <algorithm>
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
using Tests::FileFault;
using Tests::TemporaryFolder;
using Names = std::vector<std::string>;

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
    if (GetParam() != 0) noSwap = std::make_unique<FileFault>(Tests::CallRename2, GetParam());
  }
  void Refill() const {
    folder.Write("first", "old");
    folder.Write("second", "new");
  }
  void ExpectContents(const char* first, const char* second) const {
    EXPECT_EQ(folder.Read("first"), first);
    EXPECT_EQ(folder.Read("second"), second);
  }

  TemporaryFolder folder;
  std::unique_ptr<FileFault> noSwap;
};

TEST_P(IOFolderExchange, TwoFilesSwapTheirNames) {
  EXPECT_EQ(Exchange(folder), 0);
  ExpectContents("new", "old");
  EXPECT_EQ(folder.GetNames(), (Names{"first", "second"}));
}

TEST_P(IOFolderExchange, AFailureOfAnyStepLeavesBothAsTheyWere) {
  for (unsigned int step = 0;; ++step) {
    SCOPED_TRACE(step);
    ASSERT_LT(step, 20U);
    const FileFault fault(Tests::CallAny & ~Tests::CallRename2, EIO, step, 1);
    const int status = Exchange(folder);
    if (!fault.HasStruck()) break;
    // Steps that only tidy up may fail without a word, once the swap is done.
    const bool swapped = status == 0;
    ExpectContents(swapped ? "new" : "old", swapped ? "old" : "new");
    if (!swapped) EXPECT_EQ(folder.GetNames().size(), 2U);
    if (swapped) Refill();
  }
}

TEST_P(IOFolderExchange, AKillAtAnyStepLeavesACompleteFileUnderTheFirstName) {
  std::set<std::string> seen;
  bool finished = false;
  for (unsigned int step = 0; !finished; ++step) {
    SCOPED_TRACE(step);
    ASSERT_LT(step, 30U);
    const TemporaryFolder target;
    target.Write("first", "old");
    target.Write("second", "new");
    const pid_t child = ::fork();
    if (child == 0) {
      const FileFault kill(GetParam() == 0 ? Tests::CallAny : Tests::CallAny & ~Tests::CallRename2,
                           FileFault::Kill, step);
      ::_exit(Exchange(target) == 0 ? 0 : 1);
    }
    int result = -1;
    ASSERT_EQ(::waitpid(child, &result, 0), child);
    finished = WIFEXITED(result);
    EXPECT_TRUE(finished ? result == 0 : WTERMSIG(result) == SIGKILL) << result;
    const std::string first = target.Read("first");
    EXPECT_TRUE(first == "old" || first == "new") << first;
    seen.insert(first);
    // What the kill left behind stands in nobody's way.
    target.Write("second", "next");
    EXPECT_EQ(Exchange(target), 0);
    EXPECT_EQ(target.Read("first"), "next");
    EXPECT_EQ(target.Read("second"), first);
  }
  EXPECT_EQ(seen.size(), 2U);
}

TEST_P(IOFolderExchange, ContentIsOnTheDiskBeforeTheNamesAndTheNamesBeforeTheEnd) {
  // With the syncs of the two files failing in turn, no name may have been touched.
  for (unsigned int file = 0; file < 2; ++file) {
    const FileFault noSync(Tests::CallSync, EIO, file);
    const FileFault noChange(Tests::CallRename | Tests::CallLink, ENOSPC);
    EXPECT_EQ(Exchange(folder), IO::StatusFailed);
    EXPECT_FALSE(noChange.HasStruck());
  }
  // The third sync is the folder's. It fails for good: only one attempt is made.
  const FileFault once(Tests::CallSync, EIO, 2, 1);
  const FileFault again(Tests::CallSync, ENOSPC, 3);
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
  EXPECT_EQ(folder.GetNames().size(), 2U);
}

TEST_P(IOFolderExchange, TwoNamesOfOneFileLeaveNoThird) {
  std::filesystem::remove(folder.GetPath() / "second");
  std::filesystem::create_hard_link(folder.GetPath() / "first", folder.GetPath() / "second");
  EXPECT_EQ(Exchange(folder), 0);
  ExpectContents("old", "old");
  EXPECT_EQ(folder.GetNames().size(), 2U);
}

INSTANTIATE_TEST_SUITE_P(Roads, IOFolderExchange, testing::Values(0, EINVAL, ENOSYS, EOPNOTSUPP));

TEST(IOFolder, StatusTellsWhetherTheFolderIsThere) {
  const TemporaryFolder folder;
  folder.Write("f", "");
  const struct {
    IO::Location location;
    OnNotFound onNotFound;
    int status;
  } rows[] = {
      {folder.GetLocation(), OnNotFound::Fail, 0},
      {folder.At("missing"), OnNotFound::Fail, IO::StatusNotFound},
      {folder.At("missing"), OnNotFound::Ignore, 0},
      {folder.At("f"), OnNotFound::Fail, IO::StatusNotAFolder},
      {IO::Location(u"C:\\"), OnNotFound::Fail, IO::StatusNotFound},
      {IO::Location(u"x"), OnNotFound::Ignore, IO::StatusInvalidLocation},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    Folder opened(row.location, row.onNotFound);
    EXPECT_EQ(opened.GetStatus(), row.status);
    Folder::Names names;
    const bool usable = row.location == folder.GetLocation();
    EXPECT_EQ(opened.GetNames(names) == 0, usable);
    EXPECT_EQ(opened.Flush() == 0, usable);
  }
}

TEST(IOFolder, NamesOfAnyBytesAreListedAndLeadBack) {
  const TemporaryFolder folder;
  const Names disk = {"a b", "\xC3\xA9", "\xFF", "\xC3(", "back\\slash", "\xED\xA0\x80", ".hidden"};
  for (const std::string& name : disk) folder.Write(name, name);
  const Folder opened(folder.GetLocation(), OnNotFound::Fail);
  Folder::Names names;
  ASSERT_EQ(opened.GetNames(names), 0);
  ASSERT_EQ(opened.GetNames(names), 0);  // from the start again, not added
  EXPECT_EQ(names.size(), disk.size());
  std::set<std::string> contents;
  for (const Vx::UniString& name : names) {
    IO::Location location = folder.GetLocation();
    ASSERT_EQ(location.AppendToLocal(Name(name)), 0);
    IO::File file(location, OnNotFound::Fail);
    ASSERT_EQ(file.Open(IO::OpenMode::Read, Report), 0);
    char content[64];
    unsigned int count = 0;
    EXPECT_EQ(file.ReadBin(content, sizeof content, &count), IO::StatusEndOfInput);
    contents.emplace(content, count);
    EXPECT_EQ(IO::fileSystem.Delete(location, IO::DataSafety::None, Report), 0);
  }
  EXPECT_EQ(contents, std::set<std::string>(disk.begin(), disk.end()));
  EXPECT_TRUE(folder.GetNames().empty());
}

}  // namespace
