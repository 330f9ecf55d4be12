#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Archive/FileTree.h"
#include "Larkspan/Archive/TreeArchiver.h"
#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "Larkspan/Interop/Buffers.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "tests/support/TemporaryFolder.h"

namespace Tests {
namespace {

using namespace Larkspan::Archive;

struct Watcher final : FileTree::Watcher, TreeArchiver::Watcher {
  void OnStep() override { ++steps; }
  void OnLeftOut(const IO::Location&, FileTree::Reason reason, int) override {
    reasons.push_back(reason);
  }
  void OnLeftOut(const IO::Location&, int) override {}
  void OnChanged(const IO::Location& location) override { changed.push_back(location); }
  void OnRead(unsigned int) override {
    if (onRead) onRead();
  }

  int steps = 0;
  std::vector<FileTree::Reason> reasons;
  std::vector<IO::Location> changed;
  std::function<void()> onRead;
};

TEST(TreeArchiver, FiltersAndTellsOfChanges) {
  const TemporaryFolder folder;
  std::filesystem::create_directories(folder.GetPath() / "t/kept/sub");
  std::filesystem::create_directories(folder.GetPath() / "t/dropped");
  folder.Write("t/kept/sub/f", "data");
  folder.Write("t/dropped/g", "data");
  Watcher watcher;
  FileTree::Options options;
  options.filter = [](const Vx::UniString& name, const IO::Attributes&) {
    return name != u"t/dropped";
  };
  FileTree tree(options, watcher);
  tree.Add(folder.At("t"), u"t");
  EXPECT_THROW(tree.Add(folder.At("missing"), u"m"), Vx::IOException);
  ASSERT_EQ(tree.GetItems().size(), 1U);
  EXPECT_EQ(tree.GetEntryName(tree.GetItems().front()), u"t/kept/sub/f");
  EXPECT_NE(tree.FindFolder(u"t/kept"), nullptr);
  EXPECT_EQ(tree.FindFolder(u"t/dropped"), nullptr);
  EXPECT_EQ(watcher.steps, 5);

  watcher.onRead = [&] { folder.Write("t/kept/sub/f", "longer data"); };
  TreeArchiver archiver(tree, {}, watcher);
  std::string bytes;
  Larkspan::Interop::StringOBinaryChannel target(bytes);
  Larkspan::Common::IO::ArchiveOBinaryChannel output(target, 0);
  ParallelWriter writer(output, 1);
  archiver.Write(writer);
  writer.Finish();
  EXPECT_EQ(watcher.changed.size(), 1U);
  Vx::MemoryIBinaryChannel source(bytes);
  Larkspan::Common::IO::ArchiveIBinaryChannel archive(source);
  const auto entry = archive.GetNextEntry();
  EXPECT_EQ(entry->GetHeader(TreeFacts::TimeHeader),
            TreeFacts::TimeToText(tree.GetItems().front().attributes));
  EXPECT_TRUE(entry->ConstainsHeader(TreeFacts::FolderToHeader(u"t")) &&
              entry->ConstainsHeader(u"folder:t/kept/sub"));
}

}  // namespace
}  // namespace Tests
