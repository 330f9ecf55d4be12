#include <filesystem>
#include <functional>
#include <unistd.h>

#include <gtest/gtest.h>

#include "foundation/IO/File.h"
#include "foundation/IO/FileSystem.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using IO::EntryType;
using IO::fileSystem;
using namespace Tests;

constexpr auto Report = IO::AccessDeniedTreatment::Report;

// A folder `d` with a file `d/f`, a file `f`, and links to each and to nothing.
class IOFileSystem : public testing::Test {
 protected:
  IOFileSystem() {
    std::filesystem::create_directory(root / "d");
    folder.Write("d/f", "inner");
    folder.Write("f", "text");
    std::filesystem::create_directory_symlink("d", root / "to-d");
    std::filesystem::create_symlink("f", root / "to-f");
    std::filesystem::create_symlink("nowhere", root / "to-nothing");
  }

  TemporaryFolder folder;
  const std::filesystem::path& root = folder.GetPath();
};

TEST_F(IOFileSystem, PlacesAreWhatStandsThere) {
  const struct {
    const char* name;
    bool found;
    int status;
    EntryType type;
  } rows[] = {{"d/f", true, 0, EntryType::File},
              {"to-d", true, 0, EntryType::Folder},
              {"to-d/f", true, 0, EntryType::File},
              {"to-nothing", true, 0, EntryType::SymbolicLink},
              {"to-nothing/x", false, IO::StatusNotFound, EntryType::File},
              {"f/f", false, IO::StatusNotAFolder, EntryType::File}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    bool found = !row.found;
    EXPECT_EQ(fileSystem.Contains(folder.At(row.name), &found), 0);
    EXPECT_EQ(found, row.found);
    EntryType type = row.type;
    EXPECT_EQ(fileSystem.GetType(folder.At(row.name), &type), row.status);
    EXPECT_EQ(type, row.type);
  }
}

TEST_F(IOFileSystem, RelativeNativePathsStartInTheCurrentFolder) {
  IO::Location current;
  ASSERT_EQ(fileSystem.GetCurrentFolder(current), 0);
  Vx::String native;
  ASSERT_EQ(fileSystem.ToNativePath(current, native), 0);
  EXPECT_EQ(native.GetView(), std::filesystem::current_path().native());
  IO::Location below;
  ASSERT_EQ(fileSystem.FromNativePath("a/b", below), 0);
  EXPECT_EQ(below, IO::Location(std::u16string(current.GetPath()) + u"\\a\\b"));
}

TEST_F(IOFileSystem, FolderTreesGrowOnlyOverFolders) {
  for (const char* name : {"x/y/z", "x/y/z", "x/w", "to-d/new", ""}) {
    EXPECT_EQ(fileSystem.CreateFolderTree(folder.At(name)), 0) << name;
    EXPECT_TRUE(std::filesystem::is_directory(root / name)) << name;
  }
  for (const char* name : {"f", "f/x/y", "to-f", "to-nothing/x"}) {
    EXPECT_EQ(fileSystem.CreateFolderTree(folder.At(name)), IO::StatusNotAFolder) << name;
  }
}

TEST_F(IOFileSystem, DeletingTakesOneItemAndNoMore) {
  const auto remove = [this](const char* name) {
    return fileSystem.Delete(folder.At(name), IO::DataSafety::None, Report);
  };
  for (const char* link : {"to-d", "to-f", "to-nothing"}) EXPECT_EQ(remove(link), 0) << link;
  EXPECT_EQ(remove("to-d"), IO::StatusNotFound);
  EXPECT_EQ(remove("d"), IO::StatusFolderNotEmpty);
  EXPECT_EQ(folder.Read("d/f") + folder.Read("f"), "innertext");
  for (const char* item : {"d/f", "d", "f"}) EXPECT_EQ(remove(item), 0) << item;
}

TEST_F(IOFileSystem, AttributesAreSetAsTheyWereGotten) {
  IO::Attributes present;
  IO::Attributes wanted{
      .size = 4, .modifiedSeconds = -5, .modifiedNanoseconds = 123456789, .mode = 0640};
  IO::File file(folder.At("f"), IO::OnNotFound::Fail);
  ASSERT_EQ(file.Open(IO::OpenMode::Read, Report), 0);
  ASSERT_EQ(file.SetAttributes(wanted), 0);
  ASSERT_EQ(fileSystem.GetAttributes(folder.At("to-f"), &present, false), 0);
  EXPECT_EQ(present.type, EntryType::SymbolicLink);
  ASSERT_EQ(fileSystem.GetAttributes(folder.At("to-f"), &present, true), 0);
  wanted.owner = ::geteuid();
  wanted.group = present.group;
  wanted.device = present.device;
  wanted.node = present.node;
  wanted.allocated = present.allocated;
  EXPECT_EQ(present, wanted);
}

}  // namespace
