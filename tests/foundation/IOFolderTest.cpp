#include <cerrno>
#include <filesystem>
#include <signal.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "foundation/IO/FileSystem.h"
#include "foundation/IO/Folder.h"
#include "tests/support/FileFault.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using IO::Folder;
using IO::Name;
using namespace Tests;

constexpr auto Report = IO::AccessDeniedTreatment::Report;

int Exchange(const TemporaryFolder& folder) {
  Folder opened(folder.GetLocation(), IO::OnNotFound::Fail);
  return opened.Exchange(Name(u"first"), Name(u"second"), Report);
}

int Rename(const TemporaryFolder& folder) {
  return IO::fileSystem.Rename(folder.At("first"), Name(u"second"), Report);
}

int Replace(const TemporaryFolder& folder) {
  return IO::fileSystem.Replace(folder.At("first"), Name(u"second"), Report);
}

// Each test runs on the road of one step, and on the one for file systems that have no such step.
class IOFolderChange : public testing::TestWithParam<int> {
 protected:
  // In a child, so that it may be killed. Gives how the child ended: 0 if `fault` met nothing.
  int RunChange(int (*change)(const TemporaryFolder&), int error, unsigned int step) const {
    if (const pid_t child = ::fork(); child != 0) {
      int result = -1;
      EXPECT_EQ(::waitpid(child, &result, 0), child);
      return result;
    }
    const FileFault noStep(CallRename2, GetParam(), 0, GetParam() == 0 ? 0 : FileFault::Always);
    const FileFault fault(CallAny, error, step, 1);
    const bool hasFailed = change(folder) != 0;
    ::_exit((hasFailed ? 2 : 0) + (fault.HasStruck() ? 1 : 0));
  }

  TemporaryFolder folder;
};

TEST_P(IOFolderChange, AFailureOrAKillAtAnyStepLosesNoFile) {
  const struct {
    int (*change)(const TemporaryFolder&);
    std::string before;  // what the two names stand for
    std::string after;
    std::string between;  // what else a kill may leave
  } rows[] = {{Rename, "old, (missing)", "(missing), old", "old, old"},
              {Replace, "old, new", "(missing), old", ""},
              {Exchange, "old, new", "new, old", "new, (missing)"}};
  for (const auto& row : rows) {
    for (const int error : {EIO, FileFault::Kill}) {
      int result = -1;
      for (unsigned int step = 0; result != 0; ++step) {
        SCOPED_TRACE(row.before + " to " + row.after + ", step " + std::to_string(step));
        ASSERT_LT(step, 30U);
        // The first name that a kill leaves behind stays, and stands in nobody's way.
        for (const char* name : {"first", "second", ".exchange-01"}) {
          std::filesystem::remove(folder.GetPath() / name);
        }
        folder.Write("first", "old");
        if (row.before == "old, new") folder.Write("second", "new");
        result = RunChange(row.change, error, step);
        const std::string state = folder.Read("first") + ", " + folder.Read("second");
        if (WIFSIGNALED(result)) {
          ASSERT_EQ(WTERMSIG(result), SIGKILL);
          EXPECT_TRUE(state == row.before || state == row.after || state == row.between) << state;
          continue;
        }
        EXPECT_EQ(state, WEXITSTATUS(result) < 2 ? row.after : row.before);
        EXPECT_LE(folder.GetNames().size(), error == EIO ? 2U : 3U);
      }
    }
  }
}

TEST_P(IOFolderChange, WhatMayNotBeDoneIsNotBegun) {
  const FileFault noStep(CallRename2, GetParam(), 0, GetParam() == 0 ? 0 : FileFault::Always);
  folder.Write("first", "old");
  folder.Write("second", "new");
  EXPECT_EQ(Rename(folder), IO::StatusAlreadyExists);
  Folder opened(folder.GetLocation(), IO::OnNotFound::Fail);
  for (const char16_t* bad : {u"first", u"..", u"", u"sub\\second", u"/etc/passwd"}) {
    EXPECT_NE(opened.Exchange(Name(u"first"), Name(bad), Report), 0);
    EXPECT_NE(opened.Exchange(Name(bad), Name(u"first"), Report), 0);
    EXPECT_NE(IO::fileSystem.Rename(folder.At("first"), Name(bad), Report), 0);
  }
  std::filesystem::create_symlink("nowhere", folder.GetPath() / "taken");
  EXPECT_NE(IO::fileSystem.Rename(folder.At("first"), Name(u"taken"), Report), 0);
  // Nor may names change before the content is on the disk.
  for (unsigned int file = 0; file < 2; ++file) {
    const FileFault noSync(CallSync, EIO, file);
    const FileFault noChange(CallRename | CallRename2 | CallLink, ENOSPC);
    EXPECT_EQ(Exchange(folder), IO::StatusFailed);
    EXPECT_FALSE(noChange.HasStruck());
  }
  EXPECT_EQ(folder.Read("first") + folder.Read("second"), "oldnew");
}

INSTANTIATE_TEST_SUITE_P(Roads, IOFolderChange, testing::Values(0, EINVAL, ENOSYS, EOPNOTSUPP));

TEST(IOFolder, NamesOfAnyBytesAreListedAndLeadBack) {
  const TemporaryFolder folder;
  for (const char* name : {"a b", "\xC3\xA9", "\xFF", "\xC3(", "back\\slash", "\xED\xA0\x80"}) {
    folder.Write(name, "");
  }
  const Folder opened(folder.GetLocation(), IO::OnNotFound::Fail);
  Folder::Names names;
  ASSERT_EQ(opened.GetNames(names), 0);
  EXPECT_EQ(names.size(), 6U);
  for (const Vx::UniString& name : names) {
    IO::Location location = folder.GetLocation();
    ASSERT_EQ(location.AppendToLocal(Name(name)), 0);
    EXPECT_EQ(IO::fileSystem.Delete(location, IO::DataSafety::None, Report), 0);
  }
  EXPECT_TRUE(folder.GetNames().empty());
}

}  // namespace
