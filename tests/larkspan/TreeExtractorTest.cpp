#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Archive/TreeExtractor.h"
#include "Larkspan/Common/IO/ArchiveException.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/support/FailureOf.h"
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
  const std::string bytes = ToBytes({0, {}, {{"a", 2, {}, "first"}, {"b", 2, {}, "second"}}});
  Watcher watcher;
};

TEST_F(ArchiveTreeExtractor, TakesFromAStreamWhatTheFilterWants) {
  TreeExtractor::Options options;
  options.filter = [](const Vx::UniString& name) { return name == u"b"; };
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

}  // namespace
}  // namespace Tests
