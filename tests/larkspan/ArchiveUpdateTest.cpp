#include <functional>
#include <signal.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "tests/larkspan/ArchiveFolder.h"

namespace {

using Larkspan::Common::IO::ArchiveFile;
using Tests::FailureOf;
using Tests::FileFault;
using Tests::MakeSample;
using Tests::Pairs;
using Tests::SampleArchive;
using Tests::ToBytes;

const std::string failed = "ArchiveException: Failed to update archive file: ";

// The sample with a header that takes `size` bytes, at least 36.
SampleArchive WithHeaderOf(std::size_t size, unsigned int reserved) {
  SampleArchive archive = MakeSample(reserved);
  archive.headers = {{"h", std::string(size - 36, 'v')}};
  return archive;
}

void PutAll(ArchiveFile& file, const Pairs& headers) {
  file.ClearHeaders();
  for (const auto& [name, value] : headers) file.PutHeader(Tests::Text(name), Tests::Text(value));
}

class ArchiveUpdate : public Tests::ArchiveFolder {
 protected:
  void Update(const Pairs& headers) const {
    ArchiveFile file(location);
    PutAll(file, headers);
    file.Update();
  }
  void ExpectAlone(const std::string& content) const {
    EXPECT_TRUE(folder.Read("a.lsa") == content);
    EXPECT_EQ(folder.GetNames(), std::vector<std::string>{"a.lsa"});
  }
};

TEST_F(ArchiveUpdate, HeaderThatFitsGoesInPlaceAndAnyOtherDoublesTheRoom) {
  const struct {
    unsigned int reserved;
    std::size_t headerSize;
    unsigned int newReserved;
  } rows[] = {{1024, 100, 1024}, {1024, 1024, 1024},   {1024, 1025, 2048}, {256, 1000, 1024},
              {300, 301, 600},   {4096, 20000, 32768}, {0, 36, 0},         {0, 5000, 0}};
  for (const auto& [reserved, headerSize, newReserved] : rows) {
    SCOPED_TRACE(headerSize);
    const std::string old = ToBytes(MakeSample(reserved));
    const SampleArchive expected = WithHeaderOf(headerSize, newReserved);
    const bool inPlace = reserved != 0 && newReserved == reserved;
    folder.Write("a.lsa", old);
    {
      // Writing in place is one call.
      const FileFault second(Tests::CallWrite, EIO, 1);
      EXPECT_EQ(FailureOf([&] { Update(expected.headers); }).empty(), inPlace);
    }
    ExpectAlone(inPlace ? ToBytes(expected) : old);
    Update(expected.headers);
    ExpectAlone(ToBytes(expected));
  }
}

TEST_F(ArchiveUpdate, ArchiveWithoutEntriesBecomesTheNewHeaderAlone) {
  const Pairs headers{{"new", std::string(300, 'v')}, {"second", ""}};
  for (const unsigned int reserved : {0U, 256U}) {
    Write({reserved, {{"old", "x"}}, {}});
    Update(headers);
    ExpectAlone(ToBytes({reserved * 2, headers, {}}));
  }
}

TEST_F(ArchiveUpdate, OnlyHeaderOperationsMakeItTouchTheFile) {
  Write(sample);
  ArchiveFile file(location);
  EXPECT_EQ(file.GetHeaderCount(), 2U);
  Write(WithHeaderOf(100, 256));
  file.Update();
  EXPECT_FALSE(file.IsUpdated());
  ExpectAlone(ToBytes(WithHeaderOf(100, 256)));
  file.PutHeader(u"author", u"Ada");
  file.Update();
  EXPECT_TRUE(file.IsUpdated());
  ExpectAlone(ToBytes(sample));
}

TEST_F(ArchiveUpdate, RoomThatTheFileHasNowDecides) {
  for (const unsigned int present : {0U, 512U, 1024U}) {
    Write(sample);
    ArchiveFile file(location);
    PutAll(file, WithHeaderOf(200, 0).headers);
    Write(WithHeaderOf(100, present));
    file.Update();
    ExpectAlone(ToBytes(WithHeaderOf(200, present)));
    EXPECT_EQ(file.GetReservedHeaderSize(), present);
  }
}

TEST_F(ArchiveUpdate, ObjectGoesOnWorkingAfterARewrite) {
  Write(sample);
  ArchiveFile file(location);
  const auto entry = file.GetEntry(u"deflated.txt");
  const unsigned int sizes[][2] = {{600, 1024}, {100, 1024}, {1025, 2048}};
  for (const auto& [headerSize, reserved] : sizes) {
    PutAll(file, WithHeaderOf(headerSize, 0).headers);
    file.Update();
    ExpectAlone(ToBytes(WithHeaderOf(headerSize, reserved)));
    EXPECT_EQ(Tests::ReadRest(*file.GetInputChannel(entry)), sample.entries[1].data);
  }
}

TEST_F(ArchiveUpdate, HeadersThatNoBlockCanTakeAreRefused) {
  const std::string cannotWrite = failed + "failed to write archive header.";
  const std::string tooLong = "DataIntegrityException: String length exceeds limit.";
  const std::string noName =
      "IllegalArgumentException: Invalid archive header name: name is empty.";
  const std::string tooSmall =
      "IllegalArgumentException: Invalid header size: header size is too small.";
  const std::string longValue(65536, 'v');
  const Pairs unnamed{{"", "v"}};
  const struct {
    SampleArchive archive;
    Pairs added;
    std::string failure;
    std::string cause;
  } rows[] = {
      {{100, {}, {}}, {{"k", "v"}}, cannotWrite, tooSmall},
      {{256, {}, {}}, {{"k", longValue}}, cannotWrite, tooLong},
      {{256, {}, {}}, {{"j", std::string(900, 'v')}, {"k", longValue}}, cannotWrite, tooLong},
      {{0, {}, {{"e", 2, {}, "x"}}}, {{"k", longValue}}, tooLong, ""},
      {{256, unnamed, {}}, {{"k", "v"}}, cannotWrite, noName},
      {{0, unnamed, {}}, {{"k", "v"}}, noName, ""},
  };
  for (const auto& [archive, added, failure, cause] : rows) {
    Write(archive);
    ArchiveFile file(location);
    for (const auto& [key, value] : added) file.PutHeader(Tests::Text(key), Tests::Text(value));
    EXPECT_EQ(FailureOf([&] { file.Update(); }), failure);
    EXPECT_EQ(Tests::CauseOf([&] { file.Update(); }), cause);
    ExpectAlone(ToBytes(archive));
  }
}

TEST_F(ArchiveUpdate, DamagedSourceEndsItAndStaysAsItWas) {
  const std::string bytes = ToBytes(MakeSample(0));
  std::string wrong = bytes;
  wrong.back() = static_cast<char>(wrong.back() ^ 1);
  const struct {
    unsigned int reserved;
    std::string bytes;
    std::string failure;
  } rows[] = {
      {0, wrong, "ArchiveException: Failed to read archive entry: entry crc check failed."},
      {0, bytes.substr(0, bytes.size() - 1), "EndOfInputException: End of input reached."},
      {0, bytes + std::string(2, '\0'),
       "ArchiveException: Failed to read archive entry: invalid entry name."},
      {256, "no archive", failed + "failed to open archive file."},
  };
  for (const auto& [reserved, content, failure] : rows) {
    Write(MakeSample(reserved));
    ArchiveFile file(location);
    file.PutHeader(u"k", u"v");
    folder.Write("a.lsa", content);
    EXPECT_EQ(FailureOf([&] { file.Update(); }), failure);
    ExpectAlone(content);
  }
}

TEST_F(ArchiveUpdate, FileKeepsItsMode) {
  for (const unsigned int mode : {0600U, 0640U, 0755U}) {
    Write(MakeSample(0));
    const auto permissions = static_cast<std::filesystem::perms>(mode);
    std::filesystem::permissions(GetPath("a.lsa"), permissions);
    Update(WithHeaderOf(100, 0).headers);
    ExpectAlone(ToBytes(WithHeaderOf(100, 0)));
    EXPECT_EQ(std::filesystem::status(GetPath("a.lsa")).permissions(), permissions);
  }
}

TEST_F(ArchiveUpdate, WhatStandsUnderTheTemporaryNameGoesAndALinkIsNeverFollowed) {
  const std::string expected = ToBytes(WithHeaderOf(1000, 0));
  const std::filesystem::path temporary = GetPath("a.lsa.updated");
  const std::function<void()> plants[] = {
      [&] { folder.Write("a.lsa.updated", std::string(100000, 'x')); },
      [&] { std::filesystem::create_symlink("a.lsa", temporary); },
      [&] { std::filesystem::create_symlink("victim", temporary); },
      [&] { std::filesystem::create_hard_link(GetPath("a.lsa"), temporary); },
      [&] { std::filesystem::create_hard_link(GetPath("victim"), temporary); },
  };
  folder.Write("victim", "untouched");
  for (const auto& plant : plants) {
    Write(MakeSample(0));
    plant();
    Update(WithHeaderOf(1000, 0).headers);
    EXPECT_TRUE(folder.Read("a.lsa") == expected);
    EXPECT_EQ(folder.Read("victim"), "untouched");
    EXPECT_EQ(folder.GetNames(), (std::vector<std::string>{"a.lsa", "victim"}));
  }
  // Where the archive's name is a link, the file is rewritten where it is.
  std::filesystem::create_directory(GetPath("elsewhere"));
  folder.Write("elsewhere/real", ToBytes(MakeSample(0)));
  std::filesystem::remove(GetPath("a.lsa"));
  std::filesystem::create_symlink("elsewhere/real", GetPath("a.lsa"));
  Update(WithHeaderOf(1000, 0).headers);
  EXPECT_TRUE(folder.Read("elsewhere/real") == expected);
  EXPECT_TRUE(std::filesystem::is_symlink(GetPath("a.lsa")));
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
  static std::string Cut(SampleArchive archive) {
    archive.entries.resize(2);
    return ToBytes(archive);
  }
  static std::string GetOld(const Road& road) { return Cut(MakeSample(road.reserved)); }
  static std::string GetNew(const Road& road) {
    return Cut(WithHeaderOf(road.headerSize, road.newReserved));
  }
  void Run(const Road& road) const {
    const FileFault noSwap(Tests::CallRename2, EINVAL, 0, road.canSwap ? 0 : FileFault::Always);
    Update(WithHeaderOf(road.headerSize, 0).headers);
  }
  // What faults have left beside the archive.
  void RemoveOtherFiles() const {
    for (const auto& name : folder.GetNames()) {
      if (name != "a.lsa") std::filesystem::remove(folder.GetPath() / name);
    }
  }
};

TEST_F(UpdateRoad, SystemCallThatFailsIsReportedAndLeavesAWholeArchive) {
  for (const Road& road : roads) {
    SCOPED_TRACE(road.name);
    for (unsigned int call = 1; call < Tests::CallAny; call *= 2) {
      folder.Write("a.lsa", GetOld(road));
      Tests::FailEachCall(
          call, [&] { Run(road); },
          [&](const std::string& failure, bool struck) {
            const std::string content = folder.Read("a.lsa");
            EXPECT_TRUE(content == GetNew(road) || (!failure.empty() && content == GetOld(road)));
            EXPECT_TRUE(struck || failure.empty());
            // A temporary file that can't be deleted stays.
            EXPECT_TRUE(folder.GetNames().size() == 1 || call == Tests::CallRemove);
            RemoveOtherFiles();
            folder.Write("a.lsa", GetOld(road));
          });
    }
  }
}

TEST_F(UpdateRoad, EachFailureHasItsMessageAndTheUpdateCanBeTriedAgain) {
  const std::string cannotExchange =
      failed + "failed to exchange archive and temporary archive files.";
  const struct {
    const Road& road;
    unsigned int call;
    std::string failure;
  } rows[] = {
      {roads[0], Tests::CallRead, failed + "failed to open archive file."},
      {roads[0], Tests::CallWrite, failed + "failed to write archive file."},
      {roads[0], Tests::CallSyncData, failed + "failed to flush archive file."},
      {roads[1], Tests::CallRead, "IOException: Failed to read from file binary input channel."},
      {roads[1], Tests::CallWrite,
       "IOException: Failed to write to file binary output channel: write error."},
      {roads[1], Tests::CallRename2, cannotExchange},
      {roads[1], Tests::CallSync, cannotExchange},
      {roads[1], Tests::CallRemove, ""},
      {roads[2], Tests::CallLink, cannotExchange},
  };
  for (const auto& [road, call, failure] : rows) {
    Write(MakeSample(road.reserved));
    ArchiveFile file(location);
    PutAll(file, WithHeaderOf(road.headerSize, 0).headers);
    {
      const FileFault noSwap(Tests::CallRename2, EINVAL, 0, road.canSwap ? 0 : FileFault::Always);
      const FileFault fault(call, EIO, 0, 1);
      EXPECT_EQ(FailureOf([&] { file.Update(); }), failure) << road.name << ", " << call;
      EXPECT_TRUE(fault.HasStruck());
    }
    file.Update();
    ExpectAlone(ToBytes(WithHeaderOf(road.headerSize, road.newReserved)));
  }
}

TEST_F(UpdateRoad, KilledBeforeAnySystemCallItLeavesAWholeArchive) {
  for (const Road& road : roads) {
    bool killed = true;
    unsigned int skip = 0;
    for (; killed; ++skip) {
      SCOPED_TRACE(std::string(road.name) + ", call " + std::to_string(skip));
      folder.Write("a.lsa", GetOld(road));
      const pid_t child = ::fork();
      if (child == 0) {
        const FileFault fault(Tests::CallAny, FileFault::Kill, skip);
        ::_exit(FailureOf([&] { Run(road); }).empty() ? 0 : 1);
      }
      int result = -1;
      ASSERT_EQ(::waitpid(child, &result, 0), child);
      killed = WIFSIGNALED(result);
      ASSERT_TRUE(killed ? WTERMSIG(result) == SIGKILL : WEXITSTATUS(result) == 0) << result;
      const std::string content = folder.Read("a.lsa");
      EXPECT_TRUE(content == GetNew(road) || (killed && content == GetOld(road)));
      // What a kill leaves behind is in nobody's way.
      Update({{"k", "v"}});
      EXPECT_EQ(Tests::ReadSample(folder.Read("a.lsa")).archive.headers, (Pairs{{"k", "v"}}));
      RemoveOtherFiles();
    }
    EXPECT_GE(skip, 3U) << road.name;
  }
}

TEST_F(ArchiveUpdate, RunningOutOfMemoryAnywhereLeavesAWholeArchiveAndLeaksNothing) {
  const SampleArchive expected = WithHeaderOf(600, 1024);
  const auto work = [&] {
    Write(sample);
    Update(expected.headers);
  };
  Tests::FailEachAllocation(work, [&](const std::string& failure, bool) {
    EXPECT_TRUE(folder.Read("a.lsa") == ToBytes(failure.empty() ? expected : sample));
    // To delete the old archive takes memory too; without it, it stays under the temporary name.
    EXPECT_TRUE(failure.empty() || folder.GetNames().size() == 1) << failure;
  });
}

}  // namespace
