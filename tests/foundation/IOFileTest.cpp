#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <signal.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "foundation/IO/File.h"
#include "tests/support/FileFault.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using IO::File;
using IO::OnNotFound;
using IO::OpenMode;
using Tests::FileFault;

constexpr auto Report = IO::AccessDeniedTreatment::Report;

std::string MakeContent(std::size_t size) {
  std::string content(size, '\0');
  for (std::size_t index = 0; index < size; ++index) {
    content[index] = static_cast<char>((index * 7 + index / 251) & 0xFFU);
  }
  return content;
}

// Reads the rest in pieces of `size`, the last of which must say that the input ends.
std::string ReadRest(File& file, unsigned int size) {
  std::string content;
  std::string piece(size, '\0');
  int status = 0;
  while (status == 0) {
    unsigned int count = 0;
    status = file.ReadBin(piece.data(), size, &count);
    content.append(piece, 0, count);
    if (status == 0 && count != size) return "short read without end";
  }
  return status == IO::StatusEndOfInput ? content : "read error";
}

int WriteText(File& file, const std::string& text, unsigned int* written = nullptr) {
  return file.WriteBin(text.data(), static_cast<unsigned int>(text.size()), written);
}

class Pipe final {
 public:
  Pipe() { EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0); }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  ~Pipe() {
    CloseEnd(0);
    CloseEnd(1);
  }
  void CloseEnd(int end) {
    if (ends[end] >= 0) ::close(ends[end]);
    ends[end] = -1;
  }
  // A place that opens one end anew.
  [[nodiscard]] IO::Location GetLocation(int end) const {
    const Vx::UniString text =
        Vx::UniString::FromUTF8("/proc/self/fd/" + std::to_string(ends[end]));
    return IO::Location(text);
  }

  int ends[2] = {-1, -1};
};

TEST(IOFile, ReadsDoNotDependOnHowTheyAreCut) {
  const Tests::TemporaryFolder folder;
  for (const std::size_t length : {0U, 1U, 65536U, 200001U}) {
    const std::string content = MakeContent(length);
    folder.Write("f", content);
    for (const unsigned int size : {1U, 2U, 3U, 7U, 65535U, 65536U, 65537U, 300000U}) {
      File file(folder.At("f"), OnNotFound::Fail);
      ASSERT_EQ(file.Open(OpenMode::ReadShared, Report), 0);
      EXPECT_EQ(ReadRest(file, size), content) << length << " bytes by " << size;
    }
  }
}

TEST(IOFile, BigAndSmallReadsMeetWithoutGap) {
  const Tests::TemporaryFolder folder;
  const std::string content = MakeContent(400000);
  folder.Write("f", content);
  File file(folder.At("f"), OnNotFound::Fail);
  ASSERT_EQ(file.Open(OpenMode::Read, Report), 0);
  std::string all;
  for (const unsigned int size : {5U, 100000U, 1U, 65531U, 65536U, 9U}) {
    std::string piece(size, '\0');
    unsigned int count = 0;
    ASSERT_EQ(file.ReadBin(piece.data(), size, &count), 0);
    ASSERT_EQ(count, size);
    all += piece;
    unsigned __int64 available = 0;
    ASSERT_EQ(file.GetAvailableSize(&available), 0);
    ASSERT_EQ(available, content.size() - all.size());
  }
  EXPECT_EQ(all + ReadRest(file, 1000), content);
}

TEST(IOFile, InterruptedAndPartialCallsAreCarriedOn) {
  const Tests::TemporaryFolder folder;
  const std::string content = MakeContent(1000);
  for (const std::size_t piece : {1U, 3U, 999U}) {
    const Tests::PieceLimit limit(piece);
    const FileFault interruptions(Tests::CallRead | Tests::CallWrite, EINTR, 1, 3);
    File output(folder.At("f"), OnNotFound::Ignore);
    ASSERT_EQ(output.Open(OpenMode::WriteEmpty, Report), 0);
    unsigned int written = 0;
    EXPECT_EQ(WriteText(output, content, &written), 0);
    EXPECT_EQ(written, content.size());
    EXPECT_EQ(output.Close(), 0);

    const FileFault again(Tests::CallRead, EINTR, 0, 5);
    File input(folder.At("f"), OnNotFound::Fail);
    ASSERT_EQ(input.Open(OpenMode::Read, Report), 0);
    EXPECT_EQ(ReadRest(input, 10), content);
    EXPECT_TRUE(again.HasStruck());
  }
}

TEST(IOFile, AFullDiskIsReportedByTheWriteThatMeetsIt) {
  const Tests::TemporaryFolder folder;
  const std::string content = MakeContent(100);
  File file(folder.At("f"), OnNotFound::Ignore);
  ASSERT_EQ(file.Open(OpenMode::WriteEmpty, Report), 0);
  const Tests::DiskSpace space(130);
  unsigned int written = 0;
  EXPECT_EQ(WriteText(file, content, &written), 0);
  EXPECT_EQ(WriteText(file, content, &written), IO::StatusOutputFull);
  EXPECT_EQ(written, 30U);
  EXPECT_EQ(folder.Read("f").size(), 130U);
}

TEST(IOFile, FailuresOfTheSystemHaveTheirStatus) {
  const struct {
    unsigned int call;
    int error;
    int status;
  } rows[] = {
      {Tests::CallWrite, ENOSPC, IO::StatusOutputFull},
      {Tests::CallWrite, EDQUOT, IO::StatusOutputFull},
      {Tests::CallWrite, EFBIG, IO::StatusOutputFull},
      {Tests::CallWrite, EPIPE, IO::StatusPipeClosed},
      {Tests::CallWrite, EIO, IO::StatusWriteError},
      {Tests::CallWrite, EACCES, IO::StatusWriteError},
      {Tests::CallSyncData, EIO, IO::StatusWriteError},
      {Tests::CallSyncData, ENOSPC, IO::StatusOutputFull},
      {Tests::CallClose, EIO, IO::StatusWriteError},
      {Tests::CallClose, EDQUOT, IO::StatusOutputFull},
      {Tests::CallClose, EINTR, 0},
  };
  const Tests::TemporaryFolder folder;
  for (const auto& row : rows) {
    SCOPED_TRACE(std::to_string(row.call) + ", " + std::to_string(row.error));
    File file(folder.At("f"), OnNotFound::Ignore);
    ASSERT_EQ(file.Open(OpenMode::WriteEmpty, Report), 0);
    const FileFault fault(row.call, row.error);
    const auto expect = [&row](unsigned int call) { return row.call == call ? row.status : 0; };
    EXPECT_EQ(WriteText(file, "text"), expect(Tests::CallWrite));
    EXPECT_EQ(file.Flush(), expect(Tests::CallSyncData));
    EXPECT_EQ(file.Close(), expect(Tests::CallClose));
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(file.Close(), 0);
  }
  folder.Write("f", "abc");
  File file(folder.At("f"), OnNotFound::Fail);
  ASSERT_EQ(file.Open(OpenMode::Read, Report), 0);
  char byte = 0;
  unsigned int count = 7;
  {
    const FileFault fault(Tests::CallRead, EIO, 0, 1);
    EXPECT_EQ(file.ReadBin(&byte, 1, &count), IO::StatusReadError);
    EXPECT_EQ(count, 0U);
  }
  EXPECT_EQ(ReadRest(file, 2), "abc");
}

TEST(IOFile, ModesDecideWhatBecomesOfTheContent) {
  constexpr int Missing = IO::StatusFileNotFound;
  const struct {
    OnNotFound onNotFound;
    OpenMode mode;
    bool exists;
    int status;  // of the object
    int opened;
    const char* content;  // after "ab" was written over "12345"
  } rows[] = {
      {OnNotFound::Fail, OpenMode::Read, false, Missing, Missing, "(missing)"},
      {OnNotFound::Ignore, OpenMode::Read, false, 0, Missing, "(missing)"},
      {OnNotFound::Fail, OpenMode::Write, false, Missing, Missing, "(missing)"},
      {OnNotFound::Ignore, OpenMode::Write, false, 0, 0, "ab"},
      {OnNotFound::Ignore, OpenMode::WriteEmpty, false, 0, 0, "ab"},
      {OnNotFound::Fail, OpenMode::Write, true, 0, 0, "ab345"},
      {OnNotFound::Ignore, OpenMode::Write, true, 0, 0, "ab345"},
      {OnNotFound::Ignore, OpenMode::WriteEmpty, true, 0, 0, "ab"},
      {OnNotFound::Ignore, OpenMode::Read, true, 0, 0, "12345"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    const Tests::TemporaryFolder folder;
    if (row.exists) folder.Write("f", "12345");
    File file(folder.At("f"), row.onNotFound);
    EXPECT_EQ(file.GetStatus(), row.status);
    EXPECT_EQ(file.Open(row.mode, Report), row.opened);
    EXPECT_EQ(file.IsOpen(), row.opened == 0);
    if (row.opened == 0) EXPECT_EQ(file.Open(row.mode, Report), IO::StatusAlreadyOpen);
    const bool writes = row.opened == 0 && row.mode != OpenMode::Read;
    EXPECT_EQ(WriteText(file, "ab") == 0, writes);
    EXPECT_EQ(folder.Read("f"), row.content);
  }
}

TEST(IOFile, AppendingFollowsASeekToTheEnd) {
  const Tests::TemporaryFolder folder;
  for (int round = 0; round < 3; ++round) {
    File file(folder.At("f"), OnNotFound::Ignore);
    ASSERT_EQ(file.Open(OpenMode::Write, Report), 0);
    ASSERT_EQ(file.Seek(IO::SeekOrigin::End, 0), 0);
    ASSERT_EQ(WriteText(file, "ab"), 0);
  }
  EXPECT_EQ(folder.Read("f"), "ababab");
}

TEST(IOFile, SeekingCountsFromTheReadersPlaceAndNotFromTheBuffers) {
  const Tests::TemporaryFolder folder;
  folder.Write("f", "0123456789");
  File file(folder.At("f"), OnNotFound::Fail);
  ASSERT_EQ(file.Open(OpenMode::Read, Report), 0);
  const struct {
    IO::SeekOrigin origin;
    int offset;
    const char* next;
  } rows[] = {
      {IO::SeekOrigin::Current, 0, "0"},  {IO::SeekOrigin::Current, 2, "3"},
      {IO::SeekOrigin::Current, -1, "3"}, {IO::SeekOrigin::Begin, 7, "7"},
      {IO::SeekOrigin::End, -10, "0"},
  };
  for (const auto& row : rows) {
    ASSERT_EQ(file.Seek(row.origin, row.offset), 0);
    std::string next(1, '\0');
    unsigned int count = 0;
    ASSERT_EQ(file.ReadBin(next.data(), 1, &count), 0);
    EXPECT_EQ(next, row.next);
  }
  EXPECT_NE(file.Seek(IO::SeekOrigin::Current, -2), 0);
  EXPECT_EQ(ReadRest(file, 3), "123456789");
}

TEST(IOFile, PlacesThatHoldNoFileDoNotOpen) {
  const Tests::TemporaryFolder folder;
  folder.Write("f", "text");
  const struct {
    IO::Location location;
    int status;
    int opened;
  } rows[] = {
      {folder.GetLocation(), 0, IO::StatusIsAFolder},
      {folder.At("f/below"), IO::StatusFileNotFound, IO::StatusFileNotFound},
      {IO::Location(u"C:\\f"), IO::StatusFileNotFound, IO::StatusFileNotFound},
      {IO::Location(u"relative"), IO::StatusInvalidLocation, IO::StatusInvalidLocation},
      {folder.At(std::string(300, 'x')), IO::StatusInvalidLocation, IO::StatusInvalidLocation},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(&row - rows);
    File file(row.location, OnNotFound::Fail);
    EXPECT_EQ(file.GetStatus(), row.status);
    EXPECT_EQ(file.Open(OpenMode::Read, Report), row.opened);
    EXPECT_EQ(File(row.location, OnNotFound::Ignore).Open(OpenMode::Read, Report), row.opened);
    unsigned int length = 0;
    EXPECT_NE(file.GetDataLength(&length), 0);
  }
}

TEST(IOFile, ALengthBeyond32BitsIsRefusedAndNotCut) {
  const Tests::TemporaryFolder folder;
  folder.Write("f", "");
  for (const unsigned __int64 size : {0ULL, 0xFFFFFFFFULL, 0x100000000ULL}) {
    std::filesystem::resize_file(folder.GetPath() / "f", size);
    unsigned int length = 1;
    const int status = File(folder.At("f"), OnNotFound::Fail).GetDataLength(&length);
    EXPECT_EQ(status, size > 0xFFFFFFFFU ? IO::StatusTooLarge : 0);
    if (status == 0) EXPECT_EQ(length, size);
  }
}

TEST(IOFile, APipeDeliversWhatItHas) {
  Pipe pipe;
  File input(pipe.GetLocation(0), OnNotFound::Fail);
  File output(pipe.GetLocation(1), OnNotFound::Fail);
  ASSERT_EQ(input.Open(OpenMode::Read, Report), 0);
  ASSERT_EQ(output.Open(OpenMode::Write, Report), 0);
  pipe.CloseEnd(1);
  ASSERT_EQ(WriteText(output, "abc"), 0);
  EXPECT_EQ(output.Flush(), 0);
  char buffer[10];
  unsigned int count = 0;
  EXPECT_EQ(input.ReadBin(buffer, 1, &count), 0);
  unsigned __int64 available = 0;
  EXPECT_EQ(input.GetAvailableSize(&available), 0);
  EXPECT_EQ(available, 2U);
  EXPECT_EQ(input.ReadBin(buffer, sizeof buffer, &count), 0);
  EXPECT_EQ(std::string(buffer, count), "bc");
  EXPECT_EQ(output.Close(), 0);
  EXPECT_EQ(input.ReadBin(buffer, sizeof buffer, &count), IO::StatusEndOfInput);
  EXPECT_EQ(count, 0U);
}

TEST(IOFile, APipeWithoutReaderIsToldApart) {
  const auto previous = ::signal(SIGPIPE, SIG_IGN);
  Pipe pipe;
  File output(pipe.GetLocation(1), OnNotFound::Fail);
  ASSERT_EQ(output.Open(OpenMode::Write, Report), 0);
  pipe.CloseEnd(0);
  EXPECT_EQ(WriteText(output, "abc"), IO::StatusPipeClosed);
  ::signal(SIGPIPE, previous);
}

TEST(IOFile, StandardStreamsStayOpenBehindTheirFile) {
  Pipe pipe;
  const int saved = ::dup(0);
  ASSERT_EQ(::dup2(pipe.ends[0], 0), 0);
  ASSERT_EQ(::write(pipe.ends[1], "abc", 3), 3);
  pipe.CloseEnd(1);
  {
    File input(IO::StandardStream::Input);
    EXPECT_EQ(ReadRest(input, 3), "abc");
    EXPECT_EQ(input.Close(), 0);
    EXPECT_FALSE(input.IsOpen());
  }
  EXPECT_GE(::fcntl(0, F_GETFD), 0);
  EXPECT_FALSE(IO::IsTerminal(IO::StandardStream::Input));
  ::dup2(saved, 0);
  ::close(saved);
}

TEST(IOFile, NoFileTakesThePlaceOfAClosedStandardStream) {
  const Tests::TemporaryFolder folder;
  const IO::Location location = folder.At("f");
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(0);
    ::close(1);
    File file(location, OnNotFound::Ignore);
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
