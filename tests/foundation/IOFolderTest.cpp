#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/IO/File.h"
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

int Rename(const TemporaryFolder& folder, const Name& name = Name(u"second")) {
  return IO::fileSystem.Rename(folder.At("first"), name, Report);
}

// Each test runs on the road of one step, and on the one for file systems that have no such step.
class IOFolderChange : public testing::TestWithParam<int> {
 protected:
  TemporaryFolder folder;
  const FileFault noStep{CallRename2, GetParam(), 0, GetParam() == 0 ? 0 : FileFault::Always};
};

TEST_P(IOFolderChange, SpareNamesOfDeadExchangesGoAndThatOfALiveOneStays) {
  folder.Write("first", "old");
  folder.Write("second", "new");
  for (char tens = '0'; tens <= '9'; ++tens) {
    for (char ones = '0'; ones <= '9'; ++ones) {
      folder.Write(std::string(".exchange-") + tens + ones, "");
    }
  }
  IO::File live(folder.At(".exchange-00"), IO::OnNotFound::Fail);
  IO::File own(folder.At(".exchange-98"), IO::OnNotFound::Fail);
  for (IO::File* file : {&live, &own}) {
    ASSERT_EQ(file->Open(IO::OpenMode::Read, Report), 0);
    ASSERT_EQ(file->Lock(0), 0);
  }
  EXPECT_EQ(Exchange(folder), 0);
  EXPECT_EQ(folder.Read("first") + folder.Read("second"), "newold");
  folder.Write(".exchange-01", "");  // the one that was used
  Folder(folder.GetLocation(), IO::OnNotFound::Fail).RemoveLeftovers(own);
  EXPECT_EQ(folder.GetNames(), (std::vector<std::string>{".exchange-00", "first", "second"}));
}

TEST_P(IOFolderChange, WhatMayNotBeDoneIsNotBegun) {
  folder.Write("first", "old");
  folder.Write("second", "new");
  EXPECT_EQ(Rename(folder), IO::StatusAlreadyExists);
  Folder opened(folder.GetLocation(), IO::OnNotFound::Fail);
  for (const char16_t* bad : {u"first", u"..", u"", u"sub\\second", u"/etc/passwd"}) {
    EXPECT_NE(opened.Exchange(Name(u"first"), Name(bad), Report), 0);
    EXPECT_NE(opened.Exchange(Name(bad), Name(u"first"), Report), 0);
    EXPECT_NE(Rename(folder, Name(bad)), 0);
  }
  std::filesystem::create_symlink("nowhere", folder.GetPath() / "taken");
  EXPECT_NE(Rename(folder, Name(u"taken")), 0);
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

}  // namespace
