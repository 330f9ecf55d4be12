#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "tests/support/FailureOf.h"
#include "tests/support/FileFault.h"
#include "tests/support/PowerCut.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/larkspan/ExtractCommand.h"

namespace Tests {
namespace {

using Larkspan::Common::IO::ArchiveOBinaryChannel;
using Larkspan::Common::IO::FileOBinaryChannel;
using Larkspan::Common::IO::FileShare;
using Tool::ExtractOptions;

class ToolExtraction : public testing::Test {
 protected:
  [[nodiscard]] std::filesystem::path GetPath(const char* name) const {
    return folder.GetPath() / name;
  }

  void MakeArchive(const std::vector<const char*>& headers, const std::vector<const char*>& names) {
    FileOBinaryChannel file(folder.At("a.lsa"), false, FileShare::NoShare);
    ArchiveOBinaryChannel archive(file, 0);
    for (const char* name : headers) archive.PutHeader(Vx::UniString::FromUTF8(name), u"0755");
    for (const char* name : names) {
      archive.PutNextEntry(Vx::UniString::FromUTF8(name));
      archive.Write("new", 3);
      archive.CloseEntry();
    }
    archive.Close();
  }

  // Into the folder "out". The message of the failure, empty for none.
  std::string Extract(ExtractOptions options) {
    options.archive = GetPath("a.lsa");
    options.folder = GetPath("out");
    Tool::Console console(Tool::ConsoleOptions{});
    try {
      Tool::RunExtract(options, console);
    } catch (const Tool::Failure& failure) {
      return failure.what();
    }
    return std::string();
  }

  TemporaryFolder folder;
};

// Another process swaps a folder of the target for a link, before each system call in turn.
TEST_F(ToolExtraction, LinkThatIsPutOnTheWayMeanwhileLeadsNothingOut) {
  MakeArchive({"folder:d/void"}, {"d/1", "d/2", "e/3", "d/4"});
  std::filesystem::create_directory(GetPath("outside"));
  const auto swapForLink = [this] {
    if (!std::filesystem::is_directory(GetPath("out/d"))) return;
    std::filesystem::rename(GetPath("out/d"), GetPath("out/real"));
    std::filesystem::create_symlink("../outside", GetPath("out/d"));
  };
  unsigned int refusals = 0;
  bool struck = true;
  for (unsigned int skip = 0; struck; ++skip) {
    std::filesystem::remove_all(GetPath("out"));
    const CallHook hook(skip, swapForLink);
    const std::string failure = Extract({});
    struck = hook.HasStruck();
    EXPECT_TRUE(std::filesystem::is_empty(GetPath("outside"))) << skip;
    if (failure.empty()) continue;
    EXPECT_TRUE(failure.ends_with("a symbolic link stands on the way")) << failure;
    ++refusals;
  }
  EXPECT_GT(refusals, 0U);
}

TEST_F(ToolExtraction, PowerCutLeavesNoIncompleteFileWhereItCouldReplaceOneOrSyncIsAskedFor) {
  MakeArchive({}, {"f", "f"});
  const struct {
    bool sync;
    bool unnamed;
    std::string before;
  } rows[] = {{false, true, "old"},
              {true, true, "old"},
              {true, true, "(missing)"},
              {false, false, "old"},
              {true, false, "(missing)"}};
  for (const auto& row : rows) {
    for (const PowerCut::Order order : {PowerCut::Order::Kept, PowerCut::Order::None}) {
      std::filesystem::remove_all(GetPath("out"));
      std::filesystem::create_directory(GetPath("out"));
      if (row.before == "old") {
        folder.Write("out/f", row.before);
        // The model tells files by their inodes, so this one must not be used again.
        std::filesystem::remove(GetPath("kept"));
        std::filesystem::create_hard_link(GetPath("out/f"), GetPath("kept"));
      }
      PowerCut cut(GetPath("out"));
      ExtractOptions options;
      options.overwrite = "always";
      options.sync = row.sync;
      const FileFault noUnnamed(CallOpenUnnamed, EOPNOTSUPP, 0,
                                row.unnamed ? 0 : FileFault::Always);
      EXPECT_EQ(Extract(options), "");
      cut.ForEachState(order, [&row](const PowerCut::Files& disk) {
        const auto file = disk.find("f");
        const std::string found = file == disk.end() ? "(missing)" : file->second;
        EXPECT_TRUE(found == row.before || found == "new") << row.sync << found;
      });
    }
  }
}

}  // namespace
}  // namespace Tests
