#include <cerrno>
#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/CreateFileTransaction.h"
#include "Larkspan/Common/IO/FileIBinaryChannel.h"
#include "Larkspan/Common/IO/FileNotFoundException.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "Larkspan/Common/IO/IOUtilities.h"
#include "Larkspan/Common/IO/UpdateFileTransaction.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/IOException.h"
#include "tests/support/AllocationFault.h"
#include "tests/support/FileFault.h"
#include "tests/support/TemporaryFolder.h"

namespace Tests {
namespace {

using Larkspan::Common::IO::CreateFileTransaction;
using Larkspan::Common::IO::FileIBinaryChannel;
using Larkspan::Common::IO::FileOBinaryChannel;
using Larkspan::Common::IO::FileShare;
using Larkspan::Common::IO::UpdateFileTransaction;

struct Row {
  const char* name;
  std::function<void(const TemporaryFolder&)> work;
  std::string item;
  int systemError;
};

std::unique_ptr<VxException> Catch(const std::function<void()>& work) {
  try {
    work();
  } catch (const VxException& exception) {
    return std::unique_ptr<VxException>(exception.Clone());
  }
  return nullptr;
}

// Failing system calls are swept with each operation of the proofs.
TEST(FailureDetail, NamesThePathAndTheReasonThatTheMessageLeavesOut) {
  const std::string tooLong(300, 'n');
  const Row rows[] = {
      {"missing file",
       [](const auto& folder) { FileIBinaryChannel(folder.At("a"), FileShare::NoShare); }, "a",
       ENOENT},
      {"name that no file can have",
       [&](const auto& folder) {
         FileOBinaryChannel(folder.At(tooLong), false, FileShare::NoShare);
       },
       tooLong, ENAMETOOLONG},
      {"folder that is not empty",
       [](const auto& folder) {
         folder.Write("d", "x");
         Larkspan::Common::IO::Delete(folder.GetLocation());
       },
       "", ENOTEMPTY},
      {"backup that is there already",
       [](const auto& folder) {
         folder.Write("f", "new");
         folder.Write("f.bak", "old");
         UpdateFileTransaction{folder.At("f")};
       },
       "f", EEXIST},
      {"sync of a commit",
       [](const auto& folder) {
         UpdateFileTransaction transaction(folder.At("f"));
         folder.Write("f", "new");
         const FileFault fault(CallSyncData, EIO);
         transaction.Commit();
       },
       "f", EIO},
      {"new file that an abort can't delete",
       [](const auto& folder) {
         CreateFileTransaction transaction(folder.At("f"));
         folder.Write("f", "new");
         const FileFault fault(CallRemove, EIO);
         transaction.Abort();
       },
       "f", EIO},
      {"backup that a commit can't delete",
       [](const auto& folder) {
         folder.Write("f", "old");
         UpdateFileTransaction transaction(folder.At("f"));
         const FileFault fault(CallRemove, EIO);
         transaction.Commit();
       },
       "f.bak", EIO}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const TemporaryFolder folder;
    const auto exception = Catch([&] { row.work(folder); });
    ASSERT_NE(exception, nullptr);
    ASSERT_NE(exception->GetDetail(), nullptr);
    const std::string path =
        row.item.empty() ? folder.GetPath().string() : (folder.GetPath() / row.item).string();
    EXPECT_EQ(exception->GetDetail()->path.GetBuffer(), path);
    EXPECT_EQ(exception->GetDetail()->systemError, row.systemError);
    EXPECT_NE(exception->GetDetail()->status, 0);
  }
}

TEST(FailureDetail, ExceptionStaysWithoutItWhereMemoryRunsOut) {
  Vx::IOException exception("Failed.", __FILE__, __LINE__);
  const Tests::AllocationFault fault(1);
  exception.SetDetail({Vx::String(), 1, 2});
  EXPECT_EQ(exception.GetDetail(), nullptr);
  EXPECT_STREQ(exception.what(), "Failed.");
}

TEST(SystemError, BelongsToTheLastStatusOnly) {
  const TemporaryFolder folder;
  const ::IO::File missing(folder.At("missing"), ::IO::OnNotFound::Fail);
  EXPECT_EQ(::IO::GetSystemError(missing.GetStatus()), ENOENT);
  EXPECT_EQ(::IO::GetSystemError(::IO::StatusOutputFull), 0);
  EXPECT_STREQ(::IO::DescribeSystemError(EIO).GetBuffer(), "Input/output error");
}

}  // namespace
}  // namespace Tests
