#include <cerrno>
#include <filesystem>
#include <signal.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/ArchiveFile.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/support/AllocationFault.h"
#include "tests/support/FailureOf.h"
#include "tests/support/FileFault.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using Larkspan::Common::IO::ArchiveFile;
using Tests::FailureOf;
using Tests::FileFault;
using Tests::Pairs;
using Tests::SampleArchive;

const std::string failed = "ArchiveException: Failed to update archive file: ";

class ArchiveUpdate : public testing::Test {
 protected:
  void Write(const SampleArchive& archive) const { folder.Write("a.lsa", Tests::ToBytes(archive)); }
  [[nodiscard]] SampleArchive Read() const {
    Tests::ReadResult result = Tests::ReadSample(folder.Read("a.lsa"));
    EXPECT_EQ(result.failure, "");
    return result.archive;
  }
  // An archive whose header takes `size` bytes, at least 36.
  static SampleArchive WithHeaderOf(std::size_t size, unsigned int reserved) {
    SampleArchive archive = Tests::MakeSample(reserved);
    archive.headers = {{"h", std::string(size - 36, 'v')}};
    return archive;
  }
  void PutAll(ArchiveFile& file, const Pairs& headers) const {
    file.ClearHeaders();
    for (const auto& [name, value] : headers) {
      file.PutHeader(Vx::UniString::FromUTF8(name), Vx::UniString::FromUTF8(value));
    }
  }
  void Update(const Pairs& headers) const {
    ArchiveFile file(location);
    PutAll(file, headers);
    file.Update();
  }
  void ExpectNoOtherFile() const {
    EXPECT_EQ(folder.GetNames(), std::vector<std::string>{"a.lsa"});
  }

  const Tests::TemporaryFolder folder;
  const IO::Location location = folder.At("a.lsa");
};

TEST_F(ArchiveUpdate, HeaderThatFitsGoesInPlaceAndAnyOtherDoublesTheRoom) {
  const struct {
    unsigned int reserved;
    std::size_t headerSize;
    unsigned int newReserved;
  } rows[] = {{1024, 100, 1024}, {1024, 1024, 1024},   {1024, 1025, 2048}, {256, 1000, 1024},
              {300, 301, 600},   {4096, 20000, 32768}, {0, 36, 0},         {0, 5000, 0}};
  for (const auto& [reserved, headerSize, newReserved] : rows) {
    const SampleArchive old = Tests::MakeSample(reserved);
    Write(old);
    const SampleArchive expected = WithHeaderOf(headerSize, newReserved);
    const bool inPlace = reserved != 0 && newReserved == reserved;
    {
      // A write in place is one call.
      const FileFault second(Tests::CallWrite, EIO, 1);
      const std::string failure = FailureOf([&] { Update(expected.headers); });
      EXPECT_EQ(failure.empty(), inPlace) << headerSize << ": " << failure;
      if (!inPlace) {
        EXPECT_EQ(folder.Read("a.lsa"), Tests::ToBytes(old));
      }
      ExpectNoOtherFile();
    }
    Update(expected.headers);
    EXPECT_EQ(folder.Read("a.lsa"), Tests::ToBytes(expected)) << reserved << ", " << headerSize;
    ExpectNoOtherFile();
  }
}

TEST_F(ArchiveUpdate, ArchiveWithoutEntriesBecomesTheNewHeaderAlone) {
  for (const unsigned int reserved : {0U, 256U}) {
    Write({reserved, {{"old", "x"}}, {}});
    Update({{"new", std::string(300, 'v')}, {"second", ""}});
    const SampleArchive expected{
        reserved * 2, {{"new", std::string(300, 'v')}, {"second", ""}}, {}};
    EXPECT_EQ(folder.Read("a.lsa"), Tests::ToBytes(expected));
  }
}

TEST_F(ArchiveUpdate, WithoutChangesTheFileIsNotTouched) {
  Write(Tests::MakeSample(0));
  ArchiveFile file(location);
  file.Update();
  EXPECT_EQ(file.GetHeaderCount(), 2U);
  std::filesystem::remove(folder.GetPath() / "a.lsa");
  file.Update();
  EXPECT_TRUE(folder.GetNames().empty());
}

TEST_F(ArchiveUpdate, ChangeOfTheSameValueIsWrittenAndUpdatedStays) {
  Write(Tests::MakeSample(256));
  ArchiveFile file(location);
  file.PutHeader(u"author", u"Ada");
  EXPECT_TRUE(file.IsUpdated());
  Write(WithHeaderOf(100, 256));
  file.Update();
  EXPECT_TRUE(file.IsUpdated());
  EXPECT_EQ(Read(), Tests::MakeSample(256));
}

TEST_F(ArchiveUpdate, RoomThatTheFileHasNowDecides) {
  for (const unsigned int present : {0U, 512U, 1024U}) {
    Write(Tests::MakeSample(256));
    ArchiveFile file(location);
    PutAll(file, WithHeaderOf(200, 0).headers);
    Write(WithHeaderOf(100, present));
    file.Update();
    EXPECT_EQ(Read(), WithHeaderOf(200, present)) << present;
    EXPECT_EQ(file.GetReservedHeaderSize(), present);
  }
}

TEST_F(ArchiveUpdate, FileThatIsNoArchiveAnyMoreIsNotWritten) {
  Write(Tests::MakeSample(256));
  ArchiveFile file(location);
  file.PutHeader(u"k", u"v");
  folder.Write("a.lsa", "something else");
  EXPECT_EQ(FailureOf([&] { file.Update(); }), failed + "failed to open archive file.");
  EXPECT_EQ(Tests::CauseOf([&] { file.Update(); }),
            "ArchiveException: Failed to read archive header: invalid archive header magic.");
  EXPECT_EQ(folder.Read("a.lsa"), "something else");
  std::filesystem::remove(folder.GetPath() / "a.lsa");
  EXPECT_EQ(FailureOf([&] { file.Update(); }), failed + "failed to open archive file.");
  EXPECT_TRUE(folder.GetNames().empty());
}

TEST_F(ArchiveUpdate, LinksNeverLeadARewriteAstray) {
  const auto path = [&](const char* name) { return folder.GetPath() / name; };
  const std::string expected = Tests::ToBytes(WithHeaderOf(1000, 0));
  // The temporary name leads to the archive itself, or to a file of somebody else.
  for (const char* target : {"a.lsa", "victim"}) {
    for (const bool symbolic : {true, false}) {
      Write(Tests::MakeSample(0));
      folder.Write("victim", "untouched");
      if (symbolic) {
        std::filesystem::create_symlink(target, path("a.lsa.updated"));
      } else {
        std::filesystem::create_hard_link(path(target), path("a.lsa.updated"));
      }
      Update(WithHeaderOf(1000, 0).headers);
      EXPECT_TRUE(folder.Read("a.lsa") == expected) << target << symbolic;
      EXPECT_EQ(folder.Read("victim"), "untouched");
      EXPECT_EQ(folder.GetNames(), (std::vector<std::string>{"a.lsa", "victim"}));
    }
  }
  // The archive's name is a link: the file is rewritten where it is.
  std::filesystem::create_directory(path("elsewhere"));
  folder.Write("elsewhere/real", Tests::ToBytes(Tests::MakeSample(0)));
  std::filesystem::remove(path("a.lsa"));
  std::filesystem::create_symlink("elsewhere/real", path("a.lsa"));
  Update(WithHeaderOf(1000, 0).headers);
  EXPECT_TRUE(folder.Read("elsewhere/real") == expected);
  EXPECT_TRUE(std::filesystem::is_symlink(path("a.lsa")));
}

TEST_F(ArchiveUpdate, ObjectGoesOnWorkingAfterARewrite) {
  Write(Tests::MakeSample(256));
  ArchiveFile file(location);
  const auto entry = file.GetEntry(u"deflated.txt");
  PutAll(file, WithHeaderOf(600, 0).headers);
  file.Update();
  EXPECT_EQ(Read(), WithHeaderOf(600, 1024));
  EXPECT_EQ(file.GetReservedHeaderSize(), 1024U);
  const auto channel = file.GetInputChannel(entry);
  EXPECT_EQ(Tests::ReadRest(*channel), Tests::MakeSample(0).entries[1].data);
  // The block must have the new size now: one of the old would tear the archive.
  PutAll(file, WithHeaderOf(100, 0).headers);
  file.Update();
  EXPECT_EQ(Read(), WithHeaderOf(100, 1024));
  PutAll(file, WithHeaderOf(1025, 0).headers);
  file.Update();
  EXPECT_EQ(Read(), WithHeaderOf(1025, 2048));
  ExpectNoOtherFile();
}

TEST_F(ArchiveUpdate, HeadersThatNoBlockCanTakeAreRefused) {
  const std::string cannotWrite = failed + "failed to write archive header.";
  const std::string longValue(65536, 'v');
  const Pairs emptyName{{"", "v"}};
  const struct {
    const char* name;
    SampleArchive archive;
    Pairs added;
    std::string failure;
    std::string cause;
  } rows[] = {
      {"room below the least",
       {100, {}, {}},
       {{"k", "v"}},
       cannotWrite,
       "IllegalArgumentException: Invalid header size: header size is too small."},
      {"value over the limit",
       {256, {}, {}},
       {{"k", longValue}},
       cannotWrite,
       "DataIntegrityException: String length exceeds limit."},
      {"value over the limit behind others",
       {256, {}, {}},
       {{"j", std::string(900, 'v')}, {"k", longValue}},
       cannotWrite,
       "DataIntegrityException: String length exceeds limit."},
      {"value over the limit, no room",
       {0, {}, {{"e", 2, {}, "x"}}},
       {{"k", longValue}},
       "DataIntegrityException: String length exceeds limit.",
       ""},
      {"empty name from the file",
       {256, emptyName, {}},
       {{"k", "v"}},
       cannotWrite,
       "IllegalArgumentException: Invalid archive header name: name is empty."},
      {"empty name from the file, no room",
       {0, emptyName, {}},
       {{"k", "v"}},
       "IllegalArgumentException: Invalid archive header name: name is empty.",
       ""},
  };
  for (const auto& [name, archive, added, failure, cause] : rows) {
    Write(archive);
    ArchiveFile file(location);
    for (const auto& [key, value] : added) {
      file.PutHeader(Vx::UniString::FromUTF8(key), Vx::UniString::FromUTF8(value));
    }
    EXPECT_EQ(FailureOf([&] { file.Update(); }), failure) << name;
    EXPECT_EQ(Tests::CauseOf([&] { file.Update(); }), cause) << name;
    EXPECT_EQ(folder.Read("a.lsa"), Tests::ToBytes(archive));
    ExpectNoOtherFile();
  }
}

TEST_F(ArchiveUpdate, DamagedSourceEndsTheRewriteAndStaysAsItWas) {
  const std::string bytes = Tests::ToBytes(Tests::MakeSample(0));
  std::string wrong = bytes;
  wrong.back() = static_cast<char>(wrong.back() ^ 1);
  const struct {
    std::string bytes;
    std::string failure;
  } rows[] = {
      {wrong, "ArchiveException: Failed to read archive entry: entry crc check failed."},
      {bytes.substr(0, bytes.size() - 1), "EndOfInputException: End of input reached."},
      {bytes + std::string(2, '\0'),
       "ArchiveException: Failed to read archive entry: invalid entry name."},
  };
  for (const auto& [content, failure] : rows) {
    folder.Write("a.lsa", content);
    EXPECT_EQ(FailureOf([&] { Update({{"k", "v"}}); }), failure);
    EXPECT_EQ(folder.Read("a.lsa"), content);
    ExpectNoOtherFile();
  }
}

TEST_F(ArchiveUpdate, FileKeepsItsModeAndAnOlderTemporaryFileIsReplaced) {
  for (const unsigned int mode : {0600U, 0640U, 0755U}) {
    Write(Tests::MakeSample(0));
    folder.Write("a.lsa.updated", std::string(100000, 'x'));
    const auto permissions = static_cast<std::filesystem::perms>(mode);
    std::filesystem::permissions(folder.GetPath() / "a.lsa", permissions);
    Update({{"k", "v"}});
    EXPECT_EQ(Read().headers, (Pairs{{"k", "v"}}));
    EXPECT_EQ(std::filesystem::status(folder.GetPath() / "a.lsa").permissions(), permissions);
    ExpectNoOtherFile();
  }
}

// How an update goes to the disk.
struct Road {
  const char* name;
  unsigned int reserved;
  std::size_t headerSize;
  unsigned int newReserved;
  bool canSwap;  // whether the file system swaps names in one step
};

const Road roads[] = {{"in place", 4096, 4096, 4096, true},
                      {"rewrite", 256, 1000, 1024, true},
                      {"rewrite without swap", 0, 1000, 0, false}};

class UpdateRoad : public ArchiveUpdate {
 protected:
  // Few entries, so that sweeps over all system calls stay short.
  static std::string OldBytes(const Road& road) {
    SampleArchive archive = Tests::MakeSample(road.reserved);
    archive.entries.resize(2);
    return Tests::ToBytes(archive);
  }
  static std::string NewBytes(const Road& road) {
    SampleArchive archive = WithHeaderOf(road.headerSize, road.newReserved);
    archive.entries.resize(2);
    return Tests::ToBytes(archive);
  }
  // What faults have left beside the archive.
  void RemoveOtherFiles() const {
    for (const auto& name : folder.GetNames()) {
      if (name != "a.lsa") std::filesystem::remove(folder.GetPath() / name);
    }
  }
  // Runs the update of `road` with the fault wanted in force; gives its failure.
  std::string Run(const Road& road, unsigned int calls, int error, unsigned int skip,
                  bool& struck) const {
    ArchiveFile file(location);
    PutAll(file, WithHeaderOf(road.headerSize, 0).headers);
    const FileFault noSwap(Tests::CallRename2, EINVAL, 0, road.canSwap ? 0 : FileFault::Always);
    const FileFault fault(calls, error, skip, 1);
    std::string failure = FailureOf([&] { file.Update(); });
    struck = fault.HasStruck();
    return failure;
  }
};

TEST_F(UpdateRoad, SystemCallThatFailsIsReportedAndLeavesAWholeArchive) {
  for (const Road& road : roads) {
    const std::string oldBytes = OldBytes(road);
    const std::string newBytes = NewBytes(road);
    for (unsigned int call = 1; call < Tests::CallAny; call *= 2) {
      bool struck = true;
      for (unsigned int skip = 0; struck; ++skip) {
        SCOPED_TRACE(std::string(road.name) + ", call " + std::to_string(call) + ", number " +
                     std::to_string(skip));
        folder.Write("a.lsa", oldBytes);
        const std::string failure = Run(road, call, EIO, skip, struck);
        const std::string content = folder.Read("a.lsa");
        EXPECT_TRUE(content == oldBytes || content == newBytes);
        EXPECT_TRUE(!failure.empty() || content == newBytes);
        if (!struck) {
          EXPECT_EQ(failure, "");
        }
        // A temporary file that can't be deleted stays.
        if (call != Tests::CallRemove) ExpectNoOtherFile();
        RemoveOtherFiles();
      }
    }
  }
}

TEST_F(UpdateRoad, EachFailureHasItsMessage) {
  const struct {
    const Road& road;
    unsigned int call;
    std::string failure;
  } rows[] = {
      {roads[0], Tests::CallRead, failed + "failed to open archive file."},
      {roads[0], Tests::CallWrite, failed + "failed to write archive file."},
      {roads[0], Tests::CallSyncData, failed + "failed to flush archive file."},
      {roads[0], Tests::CallClose, ""},
      {roads[1], Tests::CallWrite,
       "IOException: Failed to write to file binary output channel: write error."},
      {roads[1], Tests::CallRead, "IOException: Failed to read from file binary input channel."},
      {roads[1], Tests::CallRename2,
       failed + "failed to exchange archive and temporary archive files."},
      {roads[1], Tests::CallSync,
       failed + "failed to exchange archive and temporary archive files."},
      {roads[1], Tests::CallRemove, ""},
      {roads[2], Tests::CallLink,
       failed + "failed to exchange archive and temporary archive files."},
  };
  for (const auto& [road, call, failure] : rows) {
    Write(Tests::MakeSample(road.reserved));
    bool struck = false;
    const std::string found = Run(road, call, EIO, 0, struck);
    EXPECT_EQ(found, failure) << road.name << ", " << call;
    EXPECT_TRUE(struck);
  }
}

TEST_F(UpdateRoad, FailedUpdateCanBeTriedAgain) {
  for (const Road& road : roads) {
    Write(Tests::MakeSample(road.reserved));
    ArchiveFile file(location);
    PutAll(file, WithHeaderOf(road.headerSize, 0).headers);
    {
      const Tests::DiskSpace full(0);
      EXPECT_NE(FailureOf([&] { file.Update(); }), "");
    }
    EXPECT_TRUE(file.IsUpdated());
    file.Update();
    EXPECT_EQ(Read(), WithHeaderOf(road.headerSize, road.newReserved));
  }
}

TEST_F(UpdateRoad, KilledBeforeAnySystemCallItLeavesAWholeArchive) {
  for (const Road& road : roads) {
    const std::string oldBytes = OldBytes(road);
    const std::string newBytes = NewBytes(road);
    bool killed = true;
    unsigned int skip = 0;
    for (; killed; ++skip) {
      folder.Write("a.lsa", oldBytes);
      const pid_t child = ::fork();
      if (child == 0) {
        bool struck = false;
        const std::string failure = Run(road, Tests::CallAny, FileFault::Kill, skip, struck);
        ::_exit(failure.empty() ? 0 : 1);
      }
      int result = -1;
      ASSERT_EQ(::waitpid(child, &result, 0), child);
      killed = WIFSIGNALED(result);
      ASSERT_TRUE(killed ? WTERMSIG(result) == SIGKILL : WEXITSTATUS(result) == 0) << result;
      const std::string content = folder.Read("a.lsa");
      EXPECT_TRUE(content == oldBytes || content == newBytes) << road.name << ", " << skip;
      if (!killed) {
        EXPECT_TRUE(content == newBytes) << road.name;
      }
      // What a kill leaves behind is in nobody's way.
      Update({{"k", "v"}});
      EXPECT_EQ(Read().headers, (Pairs{{"k", "v"}}));
      RemoveOtherFiles();
    }
    EXPECT_GE(skip, 3U) << road.name;
  }
}

TEST_F(ArchiveUpdate, RunningOutOfMemoryAnywhereLeavesTheArchiveAndLeaksNothing) {
  const SampleArchive sample = Tests::MakeSample(256);
  const SampleArchive expected = WithHeaderOf(600, 1024);
  bool fired = true;
  for (int n = 1; fired; ++n) {
    Write(sample);
    ArchiveFile file(location);
    PutAll(file, expected.headers);
    std::string failure;
    {
      const Larkspan::Testing::AllocationFault fault(n);
      failure = FailureOf([&] { file.Update(); });
      fired = fault.HasFired();
    }
    EXPECT_EQ(Read(), failure.empty() ? expected : sample) << n;
    // To delete the old archive takes memory too; without it, it stays under the temporary name.
    if (!failure.empty()) {
      ExpectNoOtherFile();
    }
  }
}

}  // namespace
