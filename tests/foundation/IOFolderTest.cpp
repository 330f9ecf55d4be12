#include <cerrno>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/IO/File.h"
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

// Runs on the road of one step, and on the one for file systems that have no such step.
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

INSTANTIATE_TEST_SUITE_P(Roads, IOFolderChange, testing::Values(0, EINVAL, ENOSYS, EOPNOTSUPP));

}  // namespace
