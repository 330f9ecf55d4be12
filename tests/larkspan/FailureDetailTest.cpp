#include <cerrno>
#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/ArchiveFile.h"
#include "Larkspan/Common/IO/CreateFileTransaction.h"
#include "Larkspan/Common/IO/DeferredFileOBinaryChannel.h"
#include "Larkspan/Common/IO/FileIBinaryChannel.h"
#include "Larkspan/Common/IO/FileNotFoundException.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "Larkspan/Common/IO/IOUtilities.h"
#include "Larkspan/Common/IO/UpdateFileTransaction.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/IOException.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/support/AllocationFault.h"
#include "tests/support/FileFault.h"
#include "tests/support/TemporaryFolder.h"

namespace Tests {
namespace {

using Larkspan::Common::IO::ArchiveFile;
using Larkspan::Common::IO::CreateFileTransaction;
using Larkspan::Common::IO::DeferredFileOBinaryChannel;
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

// An update of an archive of 31 bytes while system calls of the kinds `calls` fail.
void UpdateUnder(const TemporaryFolder& folder, unsigned int reserved, unsigned int calls,
                 int error) {
  const std::string bytes = HeaderBytes(reserved);
  folder.Write("a.lsa", bytes);
  ArchiveFile file(folder.At("a.lsa"));
  file.PutHeader(u"h", u"v");
  const FileFault fault(calls, error);
  file.Update();
}

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
      {"device that fails to read",
       [](const auto& folder) {
         folder.Write("r", "data");
         FileIBinaryChannel channel(folder.At("r"), FileShare::NoShare);
         const FileFault fault(CallRead, EIO);
         char byte = 0;
         static_cast<void>(channel.Read(&byte, 1, FileIBinaryChannel::ReadSome));
       },
       "r", EIO},
      {"full disk",
       [](const auto& folder) {
         FileOBinaryChannel channel(folder.At("w"), false, FileShare::NoShare);
         const DiskSpace space(1);
         channel.Write("data", 4);
       },
       "w", ENOSPC},
      {"archive that can't be opened for a change",
       [](const auto& folder) { UpdateUnder(folder, 256, CallOpen, EROFS); }, "a.lsa", EROFS},
      {"archive that can't be locked",
       [](const auto& folder) { UpdateUnder(folder, 256, CallLock, ENOLCK); }, "a.lsa", ENOLCK},
      {"archive that can't be changed in place",
       [](const auto& folder) { UpdateUnder(folder, 256, CallWrite, ENOSPC); }, "a.lsa", ENOSPC},
      {"names that can't be swapped",
       [](const auto& folder) { UpdateUnder(folder, 0, CallRename2, EPERM); }, "a.lsa", EPERM},
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
       "f.bak", EIO},
      {"deferred output on a full disk",
       [](const auto& folder) {
         DeferredFileOBinaryChannel channel(folder.At("w"), 3);
         const DiskSpace space(1);
         channel.Write("data", 4);
       },
       "w", ENOSPC}};
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
