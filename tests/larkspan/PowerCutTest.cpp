#include <algorithm>
#include <cerrno>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/ArchiveFile.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "Larkspan/Common/IO/UpdateFileTransaction.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/support/FileFault.h"
#include "tests/support/PowerCut.h"
#include "tests/support/TemporaryFolder.h"

namespace Tests {
namespace {

using Larkspan::Common::IO::ArchiveFile;
using Larkspan::Common::IO::FileOBinaryChannel;
using Larkspan::Common::IO::FileShare;
using Larkspan::Common::IO::UpdateFileTransaction;

// An operation on the file "f", what "f" holds before it and after it, and whether a state of the
// disk has lost the data.
struct Operation {
  const char* name;
  std::string before;
  std::string after;
  std::function<void(const IO::Location&)> run;
  bool hasBackup = false;
};

SampleArchive WithHeader(std::size_t size, unsigned int reserved) {
  SampleArchive archive = MakeSample(reserved);
  archive.headers = {{"h", std::string(size, 'v')}};
  return archive;
}

void PutHeader(const IO::Location& location, std::size_t size) {
  ArchiveFile file(location);
  file.ClearHeaders();
  file.PutHeader(u"h", Vx::UniString::FromUTF8(std::string(size, 'v')));
  file.Update();
}

void WriteNew(const IO::Location& location) {
  FileOBinaryChannel channel(location, false, FileShare::NoShare);
  channel.Write("new ", 4);
  channel.Write("data", 4);
  channel.Close();
}

std::vector<Operation> MakeOperations() {
  return {{"update in place", ToBytes(WithHeader(10, 1024)), ToBytes(WithHeader(500, 1024)),
           [](const IO::Location& location) { PutHeader(location, 500); }},
          {"update by a rewrite", ToBytes(WithHeader(10, 256)), ToBytes(WithHeader(900, 1024)),
           [](const IO::Location& location) { PutHeader(location, 900); }},
          {"replacement committed", "old data", "new data",
           [](const IO::Location& location) {
             UpdateFileTransaction transaction(location);
             WriteNew(location);
             transaction.Commit();
           },
           true},
          {"replacement aborted", "old data", "old data",
           [](const IO::Location& location) {
             UpdateFileTransaction transaction(location);
             WriteNew(location);
             transaction.Abort();
           },
           true}};
}

// Before a crash is told from the end of the work by the backup: while that is there, its owner
// goes back to it.
bool IsWhole(const Operation& operation, const PowerCut::Files& disk) {
  const auto holds = [&disk](const char* name, const std::string& content) {
    const auto file = disk.find(name);
    return file != disk.end() && file->second == content;
  };
  if (operation.hasBackup && disk.contains("f.bak")) return holds("f.bak", operation.before);
  return holds("f", operation.before) || holds("f", operation.after);
}

// How many states of the disk have lost the data, with how many there are.
std::pair<std::size_t, std::size_t> CountLost(const Operation& operation, PowerCut::Order order,
                                              bool canSwap, bool syncs) {
  const TemporaryFolder folder;
  folder.Write("f", operation.before);
  PowerCut cut(folder.GetPath());
  {
    const FileFault noSwap(CallRename2, EINVAL, 0, canSwap ? 0 : FileFault::Always);
    operation.run(folder.At("f"));
  }
  EXPECT_EQ(folder.Read("f"), operation.after);
  if (!syncs) cut.ForgetSyncs();
  std::size_t lost = 0;
  const std::size_t states = cut.ForEachState(
      order, [&](const PowerCut::Files& disk) { lost += IsWhole(operation, disk) ? 0U : 1U; });
  return {lost, states};
}

TEST(PowerCut, LeavesTheOldFileOrTheNewOne) {
  for (const Operation& operation : MakeOperations()) {
    for (const PowerCut::Order order : {PowerCut::Order::Kept, PowerCut::Order::None}) {
      for (const bool canSwap : {true, false}) {
        SCOPED_TRACE(operation.name);
        SCOPED_TRACE(order == PowerCut::Order::Kept ? "names in order" : "names in any order");
        SCOPED_TRACE(canSwap ? "names are swapped" : "names are linked and removed");
        const auto [lost, states] = CountLost(operation, order, canSwap, true);
        EXPECT_EQ(lost, 0U);
        EXPECT_GE(states, 2U);
      }
    }
  }
}

// The control: the model does find what a missing sync costs.
TEST(PowerCut, LosesDataWhereNothingIsSynced) {
  for (const Operation& operation : MakeOperations()) {
    if (operation.before.size() == operation.after.size() && !operation.hasBackup) continue;
    SCOPED_TRACE(operation.name);
    EXPECT_GT(CountLost(operation, PowerCut::Order::None, true, false).first, 0U);
  }
}

}  // namespace
}  // namespace Tests
