#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <signal.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "foundation/IO/File.h"
#include "tests/support/AllocationFault.h"
#include "tests/support/FileFault.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using IO::File;
using IO::OnNotFound;
using IO::OpenMode;
using Larkspan::Testing::AllocationFault;
using namespace Tests;

constexpr auto Report = IO::AccessDeniedTreatment::Report;

std::string MakeContent(std::size_t size) {
  std::string content(size, '\0');
  for (std::size_t index = 0; index < size; ++index) {
    content[index] = static_cast<char>((index * 7 + index / 251) & 0xFFU);
  }
  return content;
}

int ReadText(File& file, unsigned int size, std::string& text) {
  unsigned int count = 0;
  text.assign(size, '\0');
  const int status = file.ReadBin(text.data(), size, &count);
  text.resize(count);
  return status;
}

// Reads the rest in pieces of `size`; only the last may be short, and must say so.
std::string ReadRest(File& file, unsigned int size) {
  std::string content;
  std::string piece;
  int status = 0;
  while (status == 0) {
    status = ReadText(file, size, piece);
    content += piece;
    if (status == 0 && piece.size() != size) return "short read without end";
  }
  return status == IO::StatusEndOfInput ? content : "read error";
}

int WriteText(File& file, const std::string& text, unsigned int* written = nullptr) {
  return file.WriteBin(text.data(), static_cast<unsigned int>(text.size()), written);
}

class IOFile : public testing::Test {
 protected:
  TemporaryFolder folder;
};

TEST_F(IOFile, ReadsDoNotDependOnHowTheyAreCut) {
  for (const std::size_t length : {0U, 65536U, 200001U}) {
    const std::string content = MakeContent(length);
    folder.Write("f", content);
    for (const unsigned int size : {1U, 2U, 3U, 7U, 65535U, 65536U, 65537U, 300000U}) {
      File file(folder.At("f"), OnNotFound::Fail);
      ASSERT_EQ(file.Open(OpenMode::ReadShared, Report), 0);
      EXPECT_EQ(ReadRest(file, size), content) << length << " bytes by " << size;
    }
  }
}

TEST_F(IOFile, BigAndSmallReadsMeetWithoutGap) {
  const std::string content = MakeContent(400000);
  folder.Write("f", content);
  File file(folder.At("f"), OnNotFound::Fail);
  ASSERT_EQ(file.Open(OpenMode::Read, Report), 0);
  std::string all;
  for (const unsigned int size : {5U, 100000U, 1U, 65531U, 65536U, 9U}) {
    std::string piece;
    ASSERT_EQ(ReadText(file, size, piece), 0);
    all += piece;
    unsigned __int64 available = 0;
    ASSERT_EQ(file.GetAvailableSize(&available), 0);
    ASSERT_EQ(available, content.size() - all.size());
  }
  EXPECT_EQ(all + ReadRest(file, 1000), content);
}

TEST_F(IOFile, InterruptedAndPartialCallsAreCarriedOn) {
  const std::string content = MakeContent(1000);
  for (const std::size_t piece : {1U, 3U, 999U}) {
    const PieceLimit limit(piece);
    const FileFault inWrite(CallWrite, EINTR, 1, 3);
    const FileFault inRead(CallRead, EINTR, 1, 3);
    File output(folder.At("f"), OnNotFound::Ignore);
    ASSERT_EQ(output.Open(OpenMode::WriteEmpty, Report), 0);
    unsigned int written = 0;
    EXPECT_EQ(WriteText(output, content, &written), 0);
    EXPECT_EQ(written, content.size());
    File input(folder.At("f"), OnNotFound::Fail);
    ASSERT_EQ(input.Open(OpenMode::Read, Report), 0);
    EXPECT_EQ(ReadRest(input, 10), content);
    EXPECT_TRUE(inWrite.HasStruck() && inRead.HasStruck());
  }
}

TEST_F(IOFile, AFullDiskIsReportedByTheWriteThatMeetsIt) {
  File file(folder.At("f"), OnNotFound::Ignore);
  ASSERT_EQ(file.Open(OpenMode::WriteEmpty, Report), 0);
  const DiskSpace space(130);
  unsigned int written = 0;
  EXPECT_EQ(WriteText(file, MakeContent(100)), 0);
  EXPECT_EQ(WriteText(file, MakeContent(100), &written), IO::StatusOutputFull);
  EXPECT_EQ(written, 30U);
}

TEST_F(IOFile, FailuresOfTheSystemHaveTheirStatus) {
  const struct {
    unsigned int call;
    int error;
    int status;
  } rows[] = {{CallWrite, EDQUOT, IO::StatusOutputFull},
              {CallWrite, EFBIG, IO::StatusOutputFull},
              {CallWrite, EPIPE, IO::StatusPipeClosed},
              {CallWrite, EACCES, IO::StatusWriteError},
              {CallRead, EIO, IO::StatusReadError},
              {CallSyncData, EIO, IO::StatusWriteError},
              {CallSyncData, EINVAL, 0},
              {CallClose, EDQUOT, IO::StatusOutputFull},
              {CallClose, EINTR, 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.call) + ", " + std::to_string(row.error));
    folder.Write("f", "abc");
    File input(folder.At("f"), OnNotFound::Fail);
    File output(folder.At("f"), OnNotFound::Fail);
    ASSERT_EQ(input.Open(OpenMode::Read, Report), 0);
    ASSERT_EQ(output.Open(OpenMode::Write, Report), 0);
    const FileFault fault(row.call, row.error, 0, 1);
    const auto expect = [&row](unsigned int call) { return row.call == call ? row.status : 0; };
    std::string text;
    EXPECT_EQ(ReadText(input, 1, text), expect(CallRead));
    EXPECT_EQ(WriteText(output, "text"), expect(CallWrite));
    EXPECT_EQ(output.Flush(), expect(CallSyncData));
    EXPECT_EQ(output.Close(), expect(CallClose));
    EXPECT_EQ(output.Close(), 0);
  }
}

TEST_F(IOFile, ModesDecideWhatBecomesOfTheContent) {
  constexpr int Missing = IO::StatusFileNotFound;
  const struct {
    OnNotFound onNotFound;
    OpenMode mode;
    bool exists;
    int status;  // of the object
    int opened;
    const char* content;  // after "ab" was written over "12345"
  } rows[] = {{OnNotFound::Fail, OpenMode::Read, false, Missing, Missing, "(missing)"},
              {OnNotFound::Ignore, OpenMode::Read, false, 0, Missing, "(missing)"},
              {OnNotFound::Fail, OpenMode::Write, false, Missing, Missing, "(missing)"},
              {OnNotFound::Ignore, OpenMode::Write, false, 0, 0, "ab"},
              {OnNotFound::Ignore, OpenMode::WriteEmpty, false, 0, 0, "ab"},
              {OnNotFound::Fail, OpenMode::Write, true, 0, 0, "ab345"},
              {OnNotFound::Ignore, OpenMode::WriteEmpty, true, 0, 0, "ab"},
              {OnNotFound::Ignore, OpenMode::Read, true, 0, 0, "12345"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    std::filesystem::remove(folder.GetPath() / "f");
    if (row.exists) folder.Write("f", "12345");
    File file(folder.At("f"), row.onNotFound);
    EXPECT_EQ(file.GetStatus(), row.status);
    EXPECT_EQ(file.Open(row.mode, Report), row.opened);
    EXPECT_EQ(WriteText(file, "ab") == 0, row.opened == 0 && row.mode != OpenMode::Read);
    EXPECT_EQ(folder.Read("f"), row.content);
  }
}

TEST_F(IOFile, SeekingCountsFromTheReadersPlaceAndNotFromTheBuffers) {
  folder.Write("f", "0123456789");
  File file(folder.At("f"), OnNotFound::Fail);
  ASSERT_EQ(file.Open(OpenMode::Read, Report), 0);
  const struct {
    IO::SeekOrigin origin;
    int offset;
    const char* next;
  } rows[] = {{IO::SeekOrigin::Current, 0, "0"},
              {IO::SeekOrigin::Current, 2, "3"},
              {IO::SeekOrigin::Current, -1, "3"},
              {IO::SeekOrigin::Begin, 7, "7"},
              {IO::SeekOrigin::End, -10, "0"}};
  for (const auto& row : rows) {
    std::string next;
    ASSERT_EQ(file.Seek(row.origin, row.offset), 0);
    ASSERT_EQ(ReadText(file, 1, next), 0);
    EXPECT_EQ(next, row.next);
  }
  EXPECT_NE(file.Seek(IO::SeekOrigin::Current, -2), 0);
  EXPECT_EQ(ReadRest(file, 3), "123456789");
}

TEST_F(IOFile, PlacesThatHoldNoFileDoNotOpen) {
  folder.Write("f", "text");
  const struct {
    IO::Location location;
    int status;
  } rows[] = {{folder.GetLocation(), IO::StatusIsAFolder},
              {folder.At("f/below"), IO::StatusFileNotFound},
              {IO::Location(u"C:\\f"), IO::StatusFileNotFound},
              {IO::Location(u"relative"), IO::StatusInvalidLocation},
              {folder.At(std::string(300, 'x')), IO::StatusInvalidLocation}};
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    File file(row.location, OnNotFound::Fail);
    unsigned int length = 0;
    EXPECT_EQ(file.GetStatus(), row.status == IO::StatusIsAFolder ? 0 : row.status);
    EXPECT_EQ(file.Open(OpenMode::Read, Report), row.status);
    EXPECT_EQ(file.GetDataLength(&length), row.status);
  }
}

TEST_F(IOFile, ALengthBeyond32BitsIsRefusedAndNotCut) {
  folder.Write("f", "");
  const File file(folder.At("f"), OnNotFound::Fail);
  unsigned int length = 0;
  std::filesystem::resize_file(folder.GetPath() / "f", 0xFFFFFFFFU);
  EXPECT_EQ(file.GetDataLength(&length), 0);
  EXPECT_EQ(length, 0xFFFFFFFFU);
  std::filesystem::resize_file(folder.GetPath() / "f", 0x100000000U);
  EXPECT_EQ(file.GetDataLength(&length), IO::StatusTooLarge);
}

TEST_F(IOFile, RunningOutOfMemoryIsAStatus) {
  folder.Write("f", "text");
  const IO::Location location = folder.At("f");
  const AllocationFault inPath(1);
  EXPECT_EQ(File(location, OnNotFound::Ignore).GetStatus(), IO::StatusOutOfMemory);
  File file(location, OnNotFound::Fail);
  ASSERT_EQ(file.Open(OpenMode::Read, Report), 0);
  const AllocationFault inBuffer(1);
  char byte = 0;
  unsigned int count = 0;
  EXPECT_EQ(file.ReadBin(&byte, 1, &count), IO::StatusOutOfMemory);
  EXPECT_EQ(ReadRest(file, 3), "text");
}

TEST_F(IOFile, StandardInputFromAPipeDeliversWhatItHasAndStaysOpen) {
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  const int saved = ::dup(0);
  ASSERT_EQ(::dup2(ends[0], 0), 0);
  ASSERT_EQ(::write(ends[1], "abc", 3), 3);
  {
    File input(IO::StandardStream::Input);
    std::string text;
    EXPECT_EQ(ReadText(input, 1, text), 0);
    unsigned __int64 available = 0;
    EXPECT_EQ(input.GetAvailableSize(&available), 0);
    EXPECT_EQ(available, 2U);
    EXPECT_EQ(ReadText(input, 10, text), 0);
    EXPECT_EQ(text, "bc");
    ::close(ends[1]);
    EXPECT_EQ(ReadText(input, 10, text), IO::StatusEndOfInput);
    EXPECT_EQ(input.Close(), 0);
    EXPECT_FALSE(input.IsOpen());
  }
  EXPECT_GE(::fcntl(0, F_GETFD), 0);
  ::dup2(saved, 0);
  ::close(saved);
  ::close(ends[0]);
}

TEST_F(IOFile, NoFileTakesThePlaceOfAClosedStandardStream) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(1);
    File file(folder.At("f"), OnNotFound::Ignore);
    const bool opened = file.Open(OpenMode::WriteEmpty, Report) == 0;
    File output(IO::StandardStream::Output);
    ::_exit(opened && WriteText(output, "stray") == IO::StatusWriteError ? 0 : 1);
  }
  int result = -1;
  ASSERT_EQ(::waitpid(child, &result, 0), child);
  EXPECT_EQ(result, 0);
  EXPECT_EQ(folder.Read("f"), "");
}

}  // namespace
