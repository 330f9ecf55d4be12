#include <string>
#include <sys/stat.h>

#include "tests/larkspan/ArchiveFolder.h"

namespace Tests {
namespace {

using Larkspan::Common::IO::ArchiveFile;

class Extraction : public ArchiveFolder {
 protected:
  // Extracts the archive to "out"; gives the cause of the failure.
  std::string Extract() const {
    return CauseOf([&] { ArchiveFile(location).ExtractTo(folder.At("out")); });
  }
};

TEST_F(Extraction, NamesAndPlacesThatMustNotBeWrittenToAreRefused) {
  const std::string invalid = "ArchiveException: Invalid archive entry name: name ";
  const std::string upwards = invalid + "has a component that leads upwards.";
  const std::string notMade = "IOException: Failed to create location from relative path";
  const std::string absolute = notMade + ": the specified path is not relative.";
  const std::string link = "IOException: A symbolic link stands on the way to the extracted file.";
  const Pairs causes{
      {"/", "IllegalArgumentException: Invalid path: path is empty."},
      {"//x", absolute},
      {".", invalid + "does not lead below the target folder."},
      {"..", upwards},
      {"y\\..\\..\\x", upwards},
      {"a\xC0\x80z", notMade + "."},
      {"folder/x", link},
      {"file", link},
      {"pipe", "IOException: A device or pipe stands at the place of the extracted file."},
      {"self", "IOException: The archive stands at the place of the extracted file."}};
  Write(sample);
  std::filesystem::create_directories(GetPath("out"));
  std::filesystem::create_directory(GetPath("outside"));
  std::filesystem::create_symlink("../outside", GetPath("out/folder"));
  std::filesystem::create_symlink("../victim", GetPath("out/file"));
  std::filesystem::create_hard_link(GetPath("a.lsa"), GetPath("out/self"));
  ASSERT_EQ(::mkfifo(GetPath("out/pipe").c_str(), 0600), 0);
  for (const auto& [name, cause] : causes) {
    Write({0, {}, {{name, 1, {}, "data"}}});
    EXPECT_EQ(Extract(), cause) << name;
  }
  EXPECT_EQ(folder.GetNames(), (std::vector<std::string>{"a.lsa", "out", "outside"}));
  EXPECT_TRUE(std::filesystem::is_empty(GetPath("outside")));
  EXPECT_EQ(ReadArchive(folder.Read("a.lsa")).failure, "");
}

TEST_F(Extraction, LaterEntryOfTheSamePlaceWins) {
  Write({0, {}, {{"a/b", 2, {}, "longer"}, {"/a\\b", 2, {}, "last"}}});
  EXPECT_EQ(Extract(), "");
  EXPECT_EQ(folder.Read("out/a/b"), "last");
}

TEST_F(Extraction, DamagedEntryLeavesItsFileAndIsReported) {
  WriteDamaged();
  EXPECT_EQ(Extract(), "ArchiveException: Failed to read archive entry: entry crc check failed.");
  for (const auto& entry : sample.entries) {
    EXPECT_EQ(folder.Read("out/" + entry.name), entry.data);
  }
}

}  // namespace
}  // namespace Tests
