#include <cerrno>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <vector>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/ArchiveFile.h"
#include "foundation/Vx/DebugOutput.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/support/FailureOf.h"
#include "tests/support/FileFault.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using Larkspan::Common::IO::ArchiveEntry;
using Larkspan::Common::IO::ArchiveFile;
using Tests::FailureOf;
using Tests::SampleArchive;

class Extraction : public testing::Test {
 protected:
  void Write(const SampleArchive& archive) const { folder.Write("a.lsa", Tests::ToBytes(archive)); }
  // Extracts an archive of entries with these names, whose data is the name; gives the failure and
  // its cause.
  std::string Extract(const std::vector<std::string>& names) const {
    SampleArchive archive;
    for (const auto& name : names)
      archive.entries.push_back({name, ArchiveEntry::Deflated, {}, name});
    Write(archive);
    const auto work = [&] { ArchiveFile(location).ExtractTo(folder.At("out")); };
    const std::string failure = FailureOf(work);
    return failure.empty() ? "" : failure + " <- " + Tests::CauseOf(work);
  }

  const Tests::TemporaryFolder folder;
  const IO::Location location = folder.At("a.lsa");
  const SampleArchive sample = Tests::MakeSample(256);
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
  EXPECT_TRUE(std::filesystem::is_empty(folder.GetPath() / "none"));
}

TEST_F(Extraction, NamesLeadBelowTheFolderOrAreRefused) {
  const std::string failed = "IOException: Failed to extract archive file. <- ";
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
      EXPECT_TRUE(std::filesystem::is_empty(folder.GetPath() / "out")) << name;
    }
    std::filesystem::remove_all(folder.GetPath() / "out");
  }
  Vx::SetDebugSink(nullptr);
}

TEST_F(Extraction, NoLinkLeadsOutOfTheFolder) {
  const std::string refused =
      "IOException: Failed to extract archive file. <- IOException: A symbolic link stands on the "
      "way to the extracted file.";
  folder.Write("victim", "untouched");
  std::filesystem::create_directories(folder.GetPath() / "out" / "sub");
  std::filesystem::create_directories(folder.GetPath() / "outside");
  std::filesystem::create_symlink("../outside", folder.GetPath() / "out" / "folder");
  std::filesystem::create_symlink("../../victim", folder.GetPath() / "out" / "sub" / "file");
  std::filesystem::create_symlink("../new", folder.GetPath() / "out" / "dangling");
  for (const char* name : {"folder/x", "folder/deep/x", "folder", "sub/file", "dangling"}) {
    EXPECT_EQ(Extract({name}), refused) << name;
  }
  EXPECT_EQ(folder.Read("victim"), "untouched");
  EXPECT_TRUE(std::filesystem::is_empty(folder.GetPath() / "outside"));
  EXPECT_EQ(folder.Read("new"), "(missing)");
  // The folder itself may be one.
  std::filesystem::remove_all(folder.GetPath() / "out");
  std::filesystem::create_symlink("outside", folder.GetPath() / "out");
  EXPECT_EQ(Extract({"x"}), "");
  EXPECT_EQ(folder.Read("outside/x"), "x");
}

TEST_F(Extraction, NeitherTheArchiveNorAPipeIsWrittenTo) {
  const std::string failed = "IOException: Failed to extract archive file. <- IOException: ";
  std::filesystem::create_directory(folder.GetPath() / "out");
  ASSERT_EQ(::mkfifo((folder.GetPath() / "out" / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(Extract({"pipe"}),
            failed + "A device or pipe stands at the place of the extracted file.");
  Write(sample);
  std::filesystem::create_hard_link(folder.GetPath() / "a.lsa", folder.GetPath() / "out" / "self");
  EXPECT_EQ(Extract({"self"}), failed + "The archive stands at the place of the extracted file.");
  EXPECT_EQ(Tests::ReadSample(folder.Read("a.lsa")).failure, "");
}

TEST_F(Extraction, LaterDataReplacesWhatIsThere) {
  std::filesystem::create_directory(folder.GetPath() / "out");
  folder.Write("out/a", "something much longer than the entry");
  Write({0,
         {},
         {{"a", ArchiveEntry::Stored, {}, "first of two"},
          {"/a", ArchiveEntry::Stored, {}, "last"}}});
  ArchiveFile(location).ExtractTo(folder.At("out"));
  EXPECT_EQ(folder.Read("out/a"), "last");
}

TEST_F(Extraction, DamagedEntryLeavesItsFileAndIsReported) {
  std::string bytes = Tests::ToBytes(sample);
  bytes.back() = static_cast<char>(bytes.back() ^ 1);
  folder.Write("a.lsa", bytes);
  const auto work = [&] { ArchiveFile(location).ExtractTo(folder.At("out")); };
  EXPECT_EQ(FailureOf(work), "IOException: Failed to extract archive file.");
  EXPECT_EQ(Tests::CauseOf(work),
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
            "IOException: Failed to extract archive file. <- IOException: Failed to create parent "
            "folder of extracted file.");
  EXPECT_EQ(Extract({"z/y", "z"}),
            "IOException: Failed to extract archive file. <- IOException: Failed to create file "
            "binary output channel: failed to open file.");
}

TEST_F(Extraction, FaultsOfTheSystemAreReported) {
  Write(sample);
  const ArchiveFile file(location);
  const auto work = [&] { file.ExtractTo(folder.At("out")); };
  std::string cause;
  {
    const Tests::DiskSpace space(100);
    cause = Tests::CauseOf(work);
  }
  EXPECT_EQ(cause, "IOException: Failed to write to file binary output channel: output is full.");
  for (const unsigned int call : {Tests::CallRead, Tests::CallWrite, Tests::CallClose}) {
    bool struck = true;
    for (unsigned int skip = 0; struck; ++skip) {
      std::string failure;
      {
        const Tests::FileFault fault(call, EIO, skip, 1);
        failure = FailureOf(work);
        struck = fault.HasStruck();
      }
      if (failure.empty()) {
        EXPECT_EQ(folder.Read("out/noise"), sample.entries[4].data);
      }
      EXPECT_TRUE(failure.empty() || failure == "IOException: Failed to extract archive file.");
      EXPECT_TRUE(!struck || !failure.empty() || call == Tests::CallRead) << call << ", " << skip;
    }
  }
}

}  // namespace
