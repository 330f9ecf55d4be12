#include <cerrno>
#include <filesystem>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "foundation/IO/File.h"
#include "foundation/IO/FileSystem.h"
#include "tests/support/FileFault.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using IO::EntryType;
using IO::fileSystem;
using IO::Name;
using Tests::FileFault;
using Tests::TemporaryFolder;

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
  } rows[] = {
      {"", true, 0, EntryType::Folder},
      {"f", true, 0, EntryType::File},
      {"to-d", true, 0, EntryType::Folder},
      {"to-f", true, 0, EntryType::File},
      {"to-d/f", true, 0, EntryType::File},
      {"to-nothing", true, 0, EntryType::SymbolicLink},
      {"pipe", true, 0, EntryType::Other},
      {"missing", false, IO::StatusNotFound, EntryType::File},
      {"missing/f", false, IO::StatusNotFound, EntryType::File},
      {"f/f", false, IO::StatusNotAFolder, EntryType::File},
  };
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
  EXPECT_EQ(fileSystem.Delete(drive, Plain, Report), IO::StatusNotFound);
  EXPECT_EQ(fileSystem.Rename(drive, Name(u"g"), Report), IO::StatusNotFound);
  EXPECT_EQ(fileSystem.Delete(IO::Location(), Plain, Report), IO::StatusInvalidLocation);
}

TEST_F(IOFileSystem, FolderTreesGrowOnlyOverFolders) {
  const struct {
    const char* name;
    int status;
  } rows[] = {
      {"x/y/z", 0},
      {"x/y/z", 0},
      {"x/w", 0},
      {"d", 0},
      {"to-d", 0},
      {"to-d/new", 0},
      {"", 0},
      {"f", IO::StatusNotAFolder},
      {"f/x/y", IO::StatusNotAFolder},
      {"to-f", IO::StatusNotAFolder},
      {"to-nothing", IO::StatusNotAFolder},
      {"to-nothing/x", IO::StatusNotAFolder},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(fileSystem.CreateFolderTree(folder.At(row.name)), row.status);
    EXPECT_EQ(std::filesystem::is_directory(root / row.name), row.status == 0);
  }
  EXPECT_EQ(fileSystem.CreateFolderTree(IO::Location(u"\\")), 0);
}

TEST_F(IOFileSystem, DeletingTakesOneItemAndNoMore) {
  const struct {
    const char* name;
    int status;
  } rows[] = {
      {"to-d", 0},
      {"to-f", 0},
      {"to-nothing", 0},
      {"missing", IO::StatusNotFound},
      {"d", IO::StatusFolderNotEmpty},
      {"d/f", 0},
      {"d", 0},
      {"f", 0},
      {"f", IO::StatusNotFound},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(fileSystem.Delete(folder.At(row.name), Plain, Report), row.status) << row.name;
    if (std::string(row.name).starts_with("to-")) EXPECT_EQ(folder.Read("d/f"), "inner");
  }
  EXPECT_EQ(folder.GetNames(), std::vector<std::string>{"pipe"});
}

TEST_F(IOFileSystem, DeniedAccessIsToldApart) {
  for (const int error : {EACCES, EPERM, EROFS, EBUSY, ETXTBSY}) {
    const FileFault fault(Tests::CallRemove, error);
    EXPECT_EQ(fileSystem.Delete(folder.At("f"), Plain, Report), -2130640382) << error;
  }
  const FileFault fault(Tests::CallRemove, EIO);
  EXPECT_EQ(fileSystem.Delete(folder.At("f"), Plain, Report), IO::StatusFailed);
}

class IOFileSystemRename : public IOFileSystem, public testing::WithParamInterface<int> {
 protected:
  IOFileSystemRename() {
    if (GetParam() != 0) noMove = std::make_unique<FileFault>(Tests::CallRename2, GetParam());
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
    const FileFault fault(Tests::CallLink | Tests::CallRemove | Tests::CallSync, EIO, step, 1);
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
  wanted.mode = 0640;
  wanted.modifiedSeconds = 1000000007;
  wanted.modifiedNanoseconds = 123456789;
  IO::Attributes got;
  ASSERT_EQ(fileSystem.SetAttributes(folder.At("f"), wanted), 0);
  ASSERT_EQ(fileSystem.GetAttributes(folder.At("to-f"), &got, true), 0);
  EXPECT_EQ(got.mode, wanted.mode);
  EXPECT_EQ(got.modifiedSeconds, wanted.modifiedSeconds);
  EXPECT_EQ(got.modifiedNanoseconds, wanted.modifiedNanoseconds);
  EXPECT_EQ(got.size, 4U);

  IO::File file(folder.At("f"), IO::OnNotFound::Fail);
  ASSERT_EQ(file.Open(IO::OpenMode::Write, Report), 0);
  IO::Attributes opened;
  ASSERT_EQ(file.GetAttributes(&opened), 0);
  EXPECT_EQ(opened, got);
  opened.mode = 0600;
  opened.modifiedSeconds = -5;  // before 1970
  ASSERT_EQ(file.SetAttributes(opened), 0);
  ASSERT_EQ(fileSystem.GetAttributes(folder.At("f"), &got, false), 0);
  EXPECT_EQ(got, opened);

  // A link's own time changes, and nothing of the file behind it.
  wanted.mode = 0777;
  ASSERT_EQ(fileSystem.SetAttributes(folder.At("to-f"), wanted), 0);
  ASSERT_EQ(fileSystem.GetAttributes(folder.At("f"), &got, false), 0);
  EXPECT_EQ(got, opened);
  ASSERT_EQ(fileSystem.GetAttributes(folder.At("to-f"), &got, false), 0);
  EXPECT_EQ(got.type, EntryType::SymbolicLink);
  EXPECT_EQ(got.modifiedSeconds, wanted.modifiedSeconds);
}

TEST_F(IOFileSystem, LinksAreFoundAtEveryLevelBelowTheFolder) {
  std::filesystem::create_directory_symlink(root, root / "d" / "up");
  const struct {
    const char* above;
    const char* location;
    bool found;
  } rows[] = {
      {"", "d/f", false},       {"", "to-d", true},         {"", "to-d/f", true},
      {"", "to-nothing", true}, {"", "to-nothing/x", true}, {"", "d/up/f", true},
      {"", "new/x/y", false},   {"to-d", "to-d/f", false},  {"d/up", "d/up/f", false},
      {"", "f/x", false},
  };
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
  EXPECT_NE(fileSystem.FromNativePath("", location), 0);
  EXPECT_NE(fileSystem.FromNativePath(std::string_view("a\0b", 3), location), 0);
  std::filesystem::current_path(saved);
}

TEST_F(IOFileSystem, PermissionsAreReported) {
  if (::geteuid() == 0) GTEST_SKIP() << "root may do everything";
  ASSERT_EQ(::chmod((root / "f").c_str(), 0), 0);
  ASSERT_EQ(::chmod((root / "d").c_str(), 0500), 0);
  IO::File file(folder.At("f"), IO::OnNotFound::Fail);
  EXPECT_EQ(file.GetStatus(), 0);
  EXPECT_EQ(file.Open(IO::OpenMode::Read, Report), IO::StatusAccessDenied);
  EXPECT_EQ(fileSystem.Delete(folder.At("d/f"), Plain, Report), IO::StatusAccessDenied);
  EXPECT_EQ(fileSystem.CreateFolderTree(folder.At("d/x")), IO::StatusAccessDenied);
  ASSERT_EQ(::chmod((root / "d").c_str(), 0700), 0);
}

}  // namespace
