#include <cerrno>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "foundation/IO/File.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/IO/Folder.h"
#include "tests/support/AllocationFault.h"
#include "tests/support/FileFault.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using IO::EntryType;
using IO::fileSystem;
using IO::Name;
using Larkspan::Testing::AllocationFault;
using namespace Tests;

constexpr auto Report = IO::AccessDeniedTreatment::Report;
constexpr auto Plain = IO::DataSafety::None;

// A folder `d` with a file `d/f`, a file `f`, a pipe, and links to each and to nothing.
class IOFileSystem : public testing::Test {
 protected:
  IOFileSystem() {
    std::filesystem::create_directory(root / "d");
    folder.Write("d/f", "inner");
    folder.Write("f", "text");
    EXPECT_EQ(::mkfifo((root / "pipe").c_str(), 0600), 0);
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
  } rows[] = {{"", true, 0, EntryType::Folder},
              {"f", true, 0, EntryType::File},
              {"to-d", true, 0, EntryType::Folder},
              {"to-f", true, 0, EntryType::File},
              {"to-d/f", true, 0, EntryType::File},
              {"to-nothing", true, 0, EntryType::SymbolicLink},
              {"pipe", true, 0, EntryType::Other},
              {"missing", false, IO::StatusNotFound, EntryType::File},
              {"missing/f", false, IO::StatusNotFound, EntryType::File},
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

TEST_F(IOFileSystem, NothingIsEverOnADrive) {
  const IO::Location drive(u"C:\\f");
  bool found = true;
  EXPECT_EQ(fileSystem.Contains(drive, &found), 0);
  EXPECT_FALSE(found);
  EXPECT_EQ(fileSystem.CreateFolderTree(drive), IO::StatusNotFound);
  EXPECT_EQ(fileSystem.Rename(drive, Name(u"g"), Report), IO::StatusNotFound);
}

TEST_F(IOFileSystem, FolderTreesGrowOnlyOverFolders) {
  for (const char* name : {"x/y/z", "x/y/z", "x/w", "d", "to-d/new", ""}) {
    EXPECT_EQ(fileSystem.CreateFolderTree(folder.At(name)), 0) << name;
    EXPECT_TRUE(std::filesystem::is_directory(root / name)) << name;
  }
  for (const char* name : {"f", "f/x/y", "to-f", "to-nothing", "to-nothing/x"}) {
    EXPECT_EQ(fileSystem.CreateFolderTree(folder.At(name)), IO::StatusNotAFolder) << name;
  }
  EXPECT_EQ(fileSystem.CreateFolderTree(IO::Location(u"\\")), 0);
}

TEST_F(IOFileSystem, DeletingTakesOneItemAndNoMore) {
  const auto remove = [this](const char* name) {
    return fileSystem.Delete(folder.At(name), Plain, Report);
  };
  for (const char* link : {"to-d", "to-f", "to-nothing"}) EXPECT_EQ(remove(link), 0) << link;
  EXPECT_EQ(remove("to-d"), IO::StatusNotFound);
  EXPECT_EQ(remove("d"), IO::StatusFolderNotEmpty);
  EXPECT_EQ(folder.GetNames(), (std::vector<std::string>{"d", "f", "pipe"}));
  for (const char* item : {"d/f", "d", "f", "pipe"}) EXPECT_EQ(remove(item), 0) << item;
  EXPECT_TRUE(folder.GetNames().empty());
  for (const int error : {EACCES, EPERM, EROFS, EBUSY, ETXTBSY}) {
    const FileFault fault(CallRemove, error);
    EXPECT_EQ(remove("f"), -2130640382) << error;
  }
}

class IOFileSystemRename : public IOFileSystem, public testing::WithParamInterface<int> {
 protected:
  IOFileSystemRename() {
    if (GetParam() != 0) noMove = std::make_unique<FileFault>(CallRename2, GetParam());
  }

  std::unique_ptr<FileFault> noMove;
};

TEST_P(IOFileSystemRename, ATakenNameIsNeverReplaced) {
  folder.Write("g", "other");
  for (const char16_t* taken : {u"g", u"f", u"d", u"to-nothing"}) {
    EXPECT_EQ(fileSystem.Rename(folder.At("f"), Name(taken), Report), IO::StatusAlreadyExists);
  }
  for (const char16_t* bad : {u"d\\g", u"..", u""}) {
    EXPECT_NE(fileSystem.Rename(folder.At("f"), Name(bad), Report), 0);
  }
  EXPECT_NE(fileSystem.Rename(folder.At("missing"), Name(u"h"), Report), 0);
  EXPECT_NE(fileSystem.Rename(IO::Location(u"\\"), Name(u"h"), Report), 0);
  EXPECT_EQ(folder.Read("f"), "text");
  EXPECT_EQ(folder.Read("g"), "other");
  EXPECT_EQ(fileSystem.Rename(folder.At("f"), Name(u"h"), Report), 0);
  EXPECT_EQ(folder.Read("f"), "(missing)");
  EXPECT_EQ(folder.Read("h"), "text");
}

TEST_P(IOFileSystemRename, AFailureOfAnyStepLeavesTheOldName) {
  for (unsigned int step = 0;; ++step) {
    SCOPED_TRACE(step);
    ASSERT_LT(step, 10U);
    const FileFault fault(CallLink | CallRemove | CallSync, EIO, step, 1);
    const int status = fileSystem.Rename(folder.At("f"), Name(u"h"), Report);
    if (!fault.HasStruck()) break;
    EXPECT_EQ(status, IO::StatusFailed);
    EXPECT_EQ(folder.Read("f"), "text");
    EXPECT_EQ(folder.Read("h"), "(missing)");
  }
  EXPECT_EQ(folder.Read("h"), "text");
}

INSTANTIATE_TEST_SUITE_P(Roads, IOFileSystemRename, testing::Values(0, EINVAL, ENOSYS));

TEST_F(IOFileSystem, ReplacingTakesTheNameOver) {
  folder.Write("g", "other");
  EXPECT_EQ(fileSystem.Replace(folder.At("f"), Name(u"g"), Report), 0);
  EXPECT_EQ(folder.Read("f"), "(missing)");
  EXPECT_EQ(folder.Read("g"), "text");
  EXPECT_NE(fileSystem.Replace(folder.At("g"), Name(u"d"), Report), 0);
  EXPECT_EQ(folder.Read("g"), "text");
}

TEST_F(IOFileSystem, AttributesAreSetAsTheyWereGotten) {
  IO::Attributes wanted;
  IO::Attributes byPlace;
  IO::Attributes byFile;
  wanted.mode = 0640;
  wanted.modifiedSeconds = -5;  // before 1970
  wanted.modifiedNanoseconds = 123456789;
  ASSERT_EQ(fileSystem.SetAttributes(folder.At("f"), wanted), 0);
  ASSERT_EQ(fileSystem.GetAttributes(folder.At("to-f"), &byPlace, true), 0);
  wanted.size = 4;
  wanted.device = byPlace.device;
  wanted.node = byPlace.node;
  EXPECT_EQ(byPlace, wanted);

  IO::File file(folder.At("f"), IO::OnNotFound::Fail);
  ASSERT_EQ(file.Open(IO::OpenMode::Write, Report), 0);
  wanted.mode = 0600;
  wanted.modifiedSeconds = 1000000007;
  ASSERT_EQ(file.SetAttributes(wanted), 0);
  ASSERT_EQ(file.GetAttributes(&byFile), 0);
  EXPECT_EQ(byFile, wanted);

  // A link's own time changes, and nothing of the file behind it.
  wanted.mode = 0777;
  wanted.modifiedSeconds = 7;
  ASSERT_EQ(fileSystem.SetAttributes(folder.At("to-f"), wanted), 0);
  ASSERT_EQ(fileSystem.GetAttributes(folder.At("to-f"), &byPlace, false), 0);
  EXPECT_EQ(byPlace.type, EntryType::SymbolicLink);
  EXPECT_EQ(byPlace.modifiedSeconds, 7);
  ASSERT_EQ(fileSystem.GetAttributes(folder.At("f"), &byPlace, false), 0);
  EXPECT_EQ(byPlace, byFile);
}

TEST_F(IOFileSystem, LinksAreFoundAtEveryLevelBelowTheFolder) {
  std::filesystem::create_directory_symlink(root, root / "d" / "up");
  const struct {
    const char* above;
    const char* location;
    bool found;
  } rows[] = {{"", "d/f", false},       {"", "to-d", true},         {"", "to-d/f", true},
              {"", "to-nothing", true}, {"", "to-nothing/x", true}, {"", "d/up/f", true},
              {"", "new/x/y", false},   {"to-d", "to-d/f", false},  {"d/up", "d/up/f", false},
              {"", "f/x", false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.location);
    bool found = !row.found;
    EXPECT_EQ(fileSystem.ContainsLink(folder.At(row.above), folder.At(row.location), &found), 0);
    EXPECT_EQ(found, row.found);
  }
  bool found = false;
  EXPECT_NE(fileSystem.ContainsLink(folder.At("d"), folder.At("f"), &found), 0);
  EXPECT_NE(fileSystem.ContainsLink(folder.At("d"), folder.At("d"), &found), 0);
  EXPECT_EQ(fileSystem.ContainsLink(IO::Location(u"\\"), folder.At("to-f"), &found), 0);
  EXPECT_TRUE(found);
}

TEST_F(IOFileSystem, RelativeNativePathsCountFromTheCurrentFolder) {
  const std::filesystem::path saved = std::filesystem::current_path();
  std::filesystem::current_path(root / "d");
  IO::Location location;
  EXPECT_EQ(fileSystem.GetCurrentFolder(location), 0);
  EXPECT_EQ(location, folder.At("d"));
  EXPECT_EQ(fileSystem.FromNativePath("../f", location), 0);
  EXPECT_EQ(location, folder.At("f"));
  EXPECT_EQ(fileSystem.FromNativePath("C:\\x", location), 0);
  EXPECT_EQ(location, folder.At("d/C:\\x"));
  EXPECT_NE(fileSystem.FromNativePath(std::string_view("a\0b", 3), location), 0);
  std::filesystem::current_path(saved);
}

TEST_F(IOFileSystem, RunningOutOfMemoryIsAStatus) {
  const IO::Location file = folder.At("f");
  const IO::Location top = folder.GetLocation();
  const IO::Location deep = folder.At("new/folders");
  const Name name(u"a-name-that-is-too-long-for-a-small-text");
  const std::function<int()> operations[] = {
      [&] { return fileSystem.CreateFolderTree(deep); },
      [&] { return fileSystem.Rename(file, name, Report); },
      [&] {
        bool found = false;
        return fileSystem.ContainsLink(top, deep, &found);
      },
      [&] {
        IO::Location made;
        return fileSystem.FromNativePath("to-a-place-that-has-a-long-name", made);
      },
      [&] {
        IO::Folder::Names names;
        return IO::Folder(deep, IO::OnNotFound::Fail).GetNames(names);
      }};
  for (const auto& operation : operations) {
    for (int count = 1;; ++count) {
      SCOPED_TRACE(std::to_string(&operation - operations) + ", " + std::to_string(count));
      const AllocationFault fault(count);
      const int status = operation();
      if (!fault.HasFired()) {
        EXPECT_EQ(status, 0);
        break;
      }
      EXPECT_EQ(status, IO::StatusOutOfMemory);
    }
  }
}

}  // namespace
