#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/IO/FolderTree.h"
#include "foundation/IO/NewFile.h"
#include "tests/support/FileFault.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using IO::Folder;
using IO::FolderTree;
using IO::Name;
using IO::NewFile;
using namespace Tests;

int Enter(const TemporaryFolder& folder, const char* path, FolderTree::Missing missing) {
  FolderTree tree(folder.GetLocation());
  Folder* entered = nullptr;
  return tree.Enter(folder.At(path), missing, &entered);
}

// A folder, a file, and links to inside and outside.
void MakeSample(const TemporaryFolder& folder) {
  std::filesystem::create_directories(folder.GetPath() / "a/b");
  folder.Write("file", "");
  std::filesystem::create_directory_symlink("a", folder.GetPath() / "link");
  std::filesystem::create_directory_symlink("/", folder.GetPath() / "a/out");
}

struct Way {
  const char* path;
  FolderTree::Missing missing;
  int status;
};

constexpr Way ways[] = {
    {"a/b", FolderTree::Missing::Fail, IO::StatusSuccess},
    {"a/c", FolderTree::Missing::Fail, IO::StatusNotFound},
    {"a/c/d", FolderTree::Missing::Make, IO::StatusSuccess},
    {"file/x", FolderTree::Missing::Make, IO::StatusNotAFolder},
    {"link", FolderTree::Missing::Make, IO::StatusLinkOnTheWay},
    {"link/b", FolderTree::Missing::Fail, IO::StatusLinkOnTheWay},
    {"a/out/tmp", FolderTree::Missing::Make, IO::StatusLinkOnTheWay},
};

TEST(IOFolderTree, NoLinkLeadsAnywhereAlsoWhereTheSystemWalksNoWholePath) {
  for (const unsigned int times : {0U, FileFault::Always}) {
    const TemporaryFolder folder;
    MakeSample(folder);
    const FileFault noWalk(CallOpenBeneath, ENOSYS, 0, times);
    for (const Way& way : ways) {
      EXPECT_EQ(Enter(folder, way.path, way.missing), way.status) << way.path;
    }
    EXPECT_EQ(noWalk.HasStruck(), times != 0);
  }
}

// On file systems that can make a file without a name, and on those that can't.
class IONewFile : public testing::TestWithParam<int> {
 protected:
  int Write(const Name& name, const std::string& content, NewFile::Naming naming) {
    NewFile file(opened, NewFile::Access::Private);
    if (file.GetStatus() != 0) return file.GetStatus();
    EXPECT_EQ(
        file.GetFile().WriteBin(content.data(), static_cast<unsigned int>(content.size()), nullptr),
        IO::StatusSuccess);
    return file.Complete(name, naming);
  }

  const TemporaryFolder folder;
  const Folder opened{folder.GetLocation(), IO::OnNotFound::Fail};
  const FileFault noUnnamed{CallOpenUnnamed, GetParam(), 0,
                            GetParam() == 0 ? 0 : FileFault::Always};
};

INSTANTIATE_TEST_SUITE_P(, IONewFile, testing::Values(0, EOPNOTSUPP, EISDIR));

TEST_P(IONewFile, TakesItsNameOnlyWhereThatIsFreeUnlessItReplaces) {
  folder.Write("victim", "untouched");
  std::filesystem::create_symlink("victim", folder.GetPath() / "link");
  EXPECT_EQ(Write(Name(u"new"), "1", NewFile::Naming::IfFree), IO::StatusSuccess);
  EXPECT_EQ(Write(Name(u"new"), "2", NewFile::Naming::IfFree), IO::StatusAlreadyExists);
  EXPECT_EQ(Write(Name(u"link"), "2", NewFile::Naming::IfFree), IO::StatusAlreadyExists);
  EXPECT_EQ(folder.Read("new"), "1");
  EXPECT_EQ(Write(Name(u"new"), "3", NewFile::Naming::Replacing), IO::StatusSuccess);
  EXPECT_EQ(Write(Name(u"link"), "4", NewFile::Naming::Replacing), IO::StatusSuccess);
  EXPECT_EQ(folder.Read("new"), "3");
  EXPECT_EQ(folder.Read("link"), "4");
  EXPECT_EQ(folder.Read("victim"), "untouched");
  EXPECT_EQ(folder.GetNames(), (std::vector<std::string>{"link", "new", "victim"}));
}

TEST_P(IONewFile, RemovesWhatDeadProcessesLeftAndNothingElse) {
  folder.Write(".larkspan-0123456789abcdef", "dead");
  folder.Write(".larkspan-mine", "a user's own");
  folder.Write("file", "old");
  const NewFile alive(opened, NewFile::Access::Private);
  EXPECT_EQ(Write(Name(u"file"), "new", NewFile::Naming::Replacing), IO::StatusSuccess);
  EXPECT_EQ(folder.Read(".larkspan-0123456789abcdef"), "(missing)");
  EXPECT_EQ(folder.Read(".larkspan-mine"), "a user's own");
  EXPECT_EQ(folder.GetNames().size(), GetParam() == 0 ? 2U : 3U);
}

}  // namespace
