#include <string>
#include <sys/stat.h>
#include <vector>

#include "foundation/Vx/DebugOutput.h"
#include "tests/larkspan/ArchiveFolder.h"

namespace {

using Larkspan::Common::IO::ArchiveEntry;
using Larkspan::Common::IO::ArchiveFile;
using Tests::FailureOf;
using Tests::SampleArchive;

const std::string failed = "IOException: Failed to extract archive file. <- ";

class Extraction : public Tests::ArchiveFolder {
 protected:
  void ExtractAll() const { ArchiveFile(location).ExtractTo(folder.At("out")); }
  // Extracts an archive of entries with these names, whose data is the name; gives the failure and
  // its cause.
  std::string Extract(const std::vector<std::string>& names) const {
    SampleArchive archive;
    for (const auto& name : names) {
      archive.entries.push_back({name, ArchiveEntry::Deflated, {}, name});
    }
    Write(archive);
    const std::string failure = FailureOf([&] { ExtractAll(); });
    return failure.empty() ? "" : failure + " <- " + Tests::CauseOf([&] { ExtractAll(); });
  }
};

TEST_F(Extraction, WritesAllEntriesBelowTheFolder) {
  Write(sample);
  ArchiveFile file(location);
  file.Close();
  file.ExtractTo(folder.At("made/out"));
  for (const auto& entry : sample.entries) {
    EXPECT_EQ(folder.Read("made/out/" + entry.name), entry.data);
  }
  Write({});
  ArchiveFile(location).ExtractTo(folder.At("none"));
  EXPECT_TRUE(std::filesystem::is_empty(GetPath("none")));
}

TEST_F(Extraction, NamesLeadBelowTheFolderOrAreRefused) {
  const std::string upwards =
      failed +
      "ArchiveException: Invalid archive entry name: name has a component that leads upwards.";
  const std::string notBelow =
      failed +
      "ArchiveException: Invalid archive entry name: name does not lead below the target folder.";
  const std::string absolute =
      failed +
      "IOException: Failed to create location from relative path: the specified path is not "
      "relative.";
  const std::string invalid = failed + "IOException: Failed to create location from relative path.";
  const struct {
    std::string name;
    std::string file;  // below the folder; "" if none
    std::string failure;
  } rows[] = {
      {"plain", "plain", ""},
      {"a/b.txt", "a/b.txt", ""},
      {"/c/b.txt", "c/b.txt", ""},
      {"d\\b.txt", "d/b.txt", ""},
      {"e//b.txt", "e/b.txt", ""},
      {"./f", "f", ""},
      {"...", "...", ""},
      {"g/..h", "g/..h", ""},
      {"\xC3\xA9\xF0\x9F\x98\x80", "\xC3\xA9\xF0\x9F\x98\x80", ""},
      {"/", "", failed + "IllegalArgumentException: Invalid path: path is empty."},
      {"//x", "", absolute},
      {"/\\x", "", absolute},
      {"C:\\x", "", absolute},
      {"/C:/x", "", absolute},
      {".", "", notBelow},
      {"..", "", upwards},
      {"../escaped", "", upwards},
      {"/../escaped", "", upwards},
      {"x/../../escaped", "", upwards},
      {"x\\..\\..\\escaped", "", upwards},
      {"x/../y", "", upwards},
      {"x/..", "", upwards},
      {std::string("a\xC0\x80z"), "", invalid},
  };
  Vx::SetDebugSink([](const char*, std::size_t) {});
  for (const auto& [name, path, failure] : rows) {
    EXPECT_EQ(Extract({name}), failure) << name;
    if (!path.empty()) {
      EXPECT_EQ(folder.Read("out/" + path), name);
    }
    EXPECT_EQ(folder.GetNames(), (std::vector<std::string>{"a.lsa", "out"})) << name;
    if (path.empty()) {
      EXPECT_TRUE(std::filesystem::is_empty(GetPath("out"))) << name;
    }
    std::filesystem::remove_all(GetPath("out"));
  }
  Vx::SetDebugSink(nullptr);
}

TEST_F(Extraction, NoLinkLeadsOutOfTheFolder) {
  const std::string refused = failed +
                              "IOException: A symbolic link stands on the "
                              "way to the extracted file.";
  folder.Write("victim", "untouched");
  std::filesystem::create_directories(GetPath("out/sub"));
  std::filesystem::create_directories(GetPath("outside"));
  std::filesystem::create_symlink("../outside", GetPath("out/folder"));
  std::filesystem::create_symlink("../../victim", GetPath("out/sub/file"));
  std::filesystem::create_symlink("../new", GetPath("out/dangling"));
  for (const char* name : {"folder/x", "folder/deep/x", "folder", "sub/file", "dangling"}) {
    EXPECT_EQ(Extract({name}), refused) << name;
  }
  EXPECT_EQ(folder.Read("victim"), "untouched");
  EXPECT_TRUE(std::filesystem::is_empty(GetPath("outside")));
  EXPECT_EQ(folder.Read("new"), "(missing)");
  // The folder itself may be one.
  std::filesystem::remove_all(GetPath("out"));
  std::filesystem::create_symlink("outside", GetPath("out"));
  EXPECT_EQ(Extract({"x"}), "");
  EXPECT_EQ(folder.Read("outside/x"), "x");
}

TEST_F(Extraction, NeitherTheArchiveNorAPipeIsWrittenTo) {
  std::filesystem::create_directory(GetPath("out"));
  ASSERT_EQ(::mkfifo(GetPath("out/pipe").c_str(), 0600), 0);
  EXPECT_EQ(Extract({"pipe"}),
            failed + "IOException: A device or pipe stands at the place of the extracted file.");
  Write(sample);
  std::filesystem::create_hard_link(GetPath("a.lsa"), GetPath("out/self"));
  EXPECT_EQ(Extract({"self"}),
            failed + "IOException: The archive stands at the place of the extracted file.");
  EXPECT_EQ(Tests::ReadSample(folder.Read("a.lsa")).failure, "");
}

TEST_F(Extraction, LaterDataReplacesWhatIsThere) {
  std::filesystem::create_directory(GetPath("out"));
  folder.Write("out/a", "something much longer than the entry");
  Write({0,
         {},
         {{"a", ArchiveEntry::Stored, {}, "first of two"},
          {"/a", ArchiveEntry::Stored, {}, "last"}}});
  ArchiveFile(location).ExtractTo(folder.At("out"));
  EXPECT_EQ(folder.Read("out/a"), "last");
}

TEST_F(Extraction, DamagedEntryLeavesItsFileAndIsReported) {
  WriteDamaged();
  EXPECT_EQ(Tests::CauseOf([&] { ExtractAll(); }),
            "ArchiveException: Failed to read archive entry: entry crc check failed.");
  EXPECT_EQ(folder.Read("out/noise"), sample.entries[4].data);
}

TEST_F(Extraction, FoldersThatCannotBeAreReported) {
  Write(sample);
  folder.Write("file", "");
  const ArchiveFile file(location);
  EXPECT_EQ(FailureOf([&] { file.ExtractTo(IO::Location(u"relative")); }),
            "IllegalArgumentException: Invalid target folder location: location is not valid.");
  EXPECT_EQ(FailureOf([&] { file.ExtractTo(IO::Location()); }),
            "IllegalArgumentException: Invalid target folder location: location is empty.");
  EXPECT_EQ(FailureOf([&] { file.ExtractTo(folder.At("file/out")); }),
            "ArchiveException: Failed to extract archive file: failed to create target folder.");
  EXPECT_EQ(Extract({"x", "x/y"}),
            failed + "IOException: Failed to create parent folder of extracted file.");
  EXPECT_EQ(
      Extract({"z/y", "z"}),
      failed + "IOException: Failed to create file binary output channel: failed to open file.");
}

TEST_F(Extraction, FaultsOfTheSystemAreReported) {
  Write(sample);
  {
    const Tests::DiskSpace space(100);
    EXPECT_EQ(Tests::CauseOf([&] { ExtractAll(); }),
              "IOException: Failed to write to file binary output channel: output is full.");
  }
  for (const unsigned int call : {Tests::CallRead, Tests::CallWrite, Tests::CallClose}) {
    const auto check = [&](const std::string& failure, bool struck) {
      EXPECT_TRUE(failure.empty() || failure == "IOException: Failed to extract archive file.");
      EXPECT_TRUE(!failure.empty() || folder.Read("out/noise") == sample.entries[4].data);
      // The last read only finds the end of the file.
      EXPECT_TRUE(!struck || !failure.empty() || call == Tests::CallRead);
    };
    Tests::FailEachCall(
        call, [&] { ExtractAll(); }, check);
  }
}

}  // namespace
