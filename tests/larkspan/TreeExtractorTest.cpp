#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Archive/TreeExtractor.h"
#include "Larkspan/Common/IO/ArchiveException.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/support/FailureOf.h"
#include "tests/support/FileFault.h"
#include "tests/support/PowerCut.h"
#include "tests/support/TemporaryFolder.h"

namespace Tests {
namespace {

using namespace Larkspan::Archive;
using Overwrite = TreeExtractor::Overwrite;

// Keeps going over damage, and may stop at an entry.
struct Watcher final : TreeExtractor::Watcher {
  void OnEntry(const Larkspan::Common::IO::ArchiveEntry& entry) override {
    if (entry.GetName() == stopAt) throw 1;
  }
  void OnItem(const Vx::UniString& name) override { items.push_back(name.ToUTF8()); }
  void OnLeftOut(TreeExtractor::Reason reason, const IO::Location&, std::string_view) override {
    reasons.push_back(reason);
  }
  void OnAttributesLost(const IO::Location&, int) override { FAIL(); }
  bool GoesOn() override { return keepGoing; }

  Vx::UniString stopAt;
  bool keepGoing = false;
  std::vector<std::string> items;
  std::vector<TreeExtractor::Reason> reasons;
};

class ArchiveTreeExtractor : public testing::Test {
 protected:
  void Extract(const TreeExtractor::Options& options) {
    Vx::MemoryIBinaryChannel source(bytes);
    EntryReader entries(source);
    TreeExtractor(entries, folder.At("out"), options, watcher).Extract();
  }

  const TemporaryFolder folder;
  std::string bytes = ToBytes({0, {}, {{"a", 2, {}, "first"}, {"b", 2, {}, "second"}}});
  Watcher watcher;
};

TEST_F(ArchiveTreeExtractor, TakesFromAStreamWhatTheFilterWants) {
  TreeExtractor::Options options;
  options.filter = [](const Vx::UniString& name, bool) { return name == u"b"; };
  Extract(options);
  EXPECT_EQ(folder.Read("out/a"), "(missing)");
  EXPECT_EQ(folder.Read("out/b"), "second");
  EXPECT_EQ(watcher.items, std::vector<std::string>{"b"});
}

TEST_F(ArchiveTreeExtractor, WatcherThatThrowsCancelsAndKeepsWhatIsDone) {
  watcher.stopAt = u"b";
  EXPECT_THROW(Extract({}), int);
  EXPECT_EQ(folder.Read("out/a"), "first");
  EXPECT_EQ(folder.Read("out/b"), "(missing)");
}

TEST_F(ArchiveTreeExtractor, FailuresSayWhatAndWhere) {
  TreeExtractor::Options options;
  options.maxSize = 7;
  watcher.keepGoing = true;  // which is no way around a limit
  EXPECT_EQ(FailureOf([&] { Extract(options); }),
            "ArchiveException: Extracted files exceed the size limit.");
  EXPECT_EQ(folder.Read("out/a"), "first");
  watcher.keepGoing = false;
  try {
    Extract({});
    FAIL();
  } catch (const Vx::IOException& exception) {
    EXPECT_EQ(exception.GetMessage(), u"File exists already.");
    ASSERT_NE(exception.GetDetail(), nullptr);
    EXPECT_TRUE(exception.GetDetail()->path.GetView().ends_with("/out/a"));
  }
}

TEST_F(ArchiveTreeExtractor, LinkInTheWayIsReplacedOrStaysAsAFileWould) {
  folder.Write("victim", "untouched");
  for (const Overwrite overwrite : {Overwrite::Skip, Overwrite::Always}) {
    std::filesystem::create_directories(folder.GetPath() / "out");
    std::filesystem::create_symlink("../victim", folder.GetPath() / "out/a");
    TreeExtractor::Options options;
    options.overwrite = overwrite;
    Extract(options);
    EXPECT_EQ(folder.Read("out/a"), overwrite == Overwrite::Skip ? "untouched" : "first");
    EXPECT_EQ(folder.Read("out/b"), "second");
    std::filesystem::remove_all(folder.GetPath() / "out");
  }
  EXPECT_EQ(folder.Read("victim"), "untouched");
  EXPECT_EQ(watcher.reasons, std::vector{TreeExtractor::Reason::Exists});
}

// Another process swaps a folder of the target for a link, before each system call in turn.
TEST_F(ArchiveTreeExtractor, LinkThatIsPutOnTheWayMeanwhileLeadsNothingOut) {
  bytes = ToBytes({0,
                   {{"folder:d/void", "0755"}},
                   {{"d/1", 2, {}, "1"}, {"e/2", 2, {}, "2"}, {"d/3", 2, {}, "3"}}});
  const std::filesystem::path out = folder.GetPath() / "out";
  std::filesystem::create_directory(folder.GetPath() / "outside");
  const auto swapForLink = [&out] {
    if (!std::filesystem::is_directory(out / "d")) return;
    std::filesystem::rename(out / "d", out / "real");
    std::filesystem::create_symlink("../outside", out / "d");
  };
  unsigned int refusals = 0;
  bool struck = true;
  for (unsigned int skip = 0; struck; ++skip) {
    std::filesystem::remove_all(out);
    const CallHook hook(skip, swapForLink);
    const std::string failure = FailureOf([&] { Extract({}); });
    struck = hook.HasStruck();
    EXPECT_TRUE(std::filesystem::is_empty(folder.GetPath() / "outside")) << skip;
    if (!failure.empty()) ++refusals;
  }
  EXPECT_GT(refusals, 0U);
}

TEST_F(ArchiveTreeExtractor, PowerCutLeavesNoIncompleteFileWhereItCouldReplaceOneOrSyncIsAskedFor) {
  bytes = ToBytes({0, {}, {{"f", 2, {}, "new"}, {"f", 2, {}, "new"}}});
  const struct {
    bool sync;
    bool unnamed;
    std::string before;
  } rows[] = {{false, true, "old"},
              {true, true, "old"},
              {true, true, "(missing)"},
              {false, false, "old"},
              {true, false, "(missing)"}};
  const std::filesystem::path out = folder.GetPath() / "out";
  for (const auto& row : rows) {
    for (const PowerCut::Order order : {PowerCut::Order::Kept, PowerCut::Order::None}) {
      std::filesystem::remove_all(out);
      std::filesystem::create_directory(out);
      if (row.before == "old") {
        folder.Write("out/f", row.before);
        // The model tells files by their inodes, so this one must not be used again.
        std::filesystem::remove(folder.GetPath() / "kept");
        std::filesystem::create_hard_link(out / "f", folder.GetPath() / "kept");
      }
      PowerCut cut(out);
      TreeExtractor::Options options;
      options.overwrite = Overwrite::Always;
      options.sync = row.sync;
      const FileFault noUnnamed(CallOpenUnnamed, EOPNOTSUPP, 0,
                                row.unnamed ? 0 : FileFault::Always);
      Extract(options);
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
