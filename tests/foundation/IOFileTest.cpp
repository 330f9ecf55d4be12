#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <numeric>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "foundation/IO/File.h"
#include "tests/support/FileFault.h"
#include "tests/support/SeededRandom.h"
#include "tests/support/SleepRecord.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using IO::File;
using IO::OnNotFound;
using IO::OpenMode;
using namespace Tests;

constexpr auto Report = IO::AccessDeniedTreatment::Report;

int ReadText(File& file, std::size_t size, std::string& text) {
  unsigned int count = 0;
  text.assign(size, '\0');
  const int status = file.ReadBin(text.data(), static_cast<unsigned int>(size), &count);
  text.resize(count);
  return status;
}

int WriteText(File& file, const std::string& text, unsigned int* written = nullptr) {
  return file.WriteBin(text.data(), static_cast<unsigned int>(text.size()), written);
}

struct IOFile : testing::Test {
  TemporaryFolder folder;
};

TEST_F(IOFile, ReadsPeeksAndSeeksFollowAString) {
  constexpr unsigned int sizes[] = {1, 7, 999, 65535, 65536, 65537, 150000};
  SeededRandom random;
  std::string content(200001, '\0');
  std::generate(content.begin(), content.end(), [&] { return static_cast<char>(random()); });
  folder.Write("f", content);
  for (unsigned int round = 0; round < 10; ++round) {
    const PieceLimit limit(round % 2 == 0 ? 1001 : PieceLimit::None);
    const FileFault interruption(CallRead, EINTR, round, 3);
    File file(folder.At("f"), OnNotFound::Fail);
    ASSERT_EQ(file.Open(OpenMode::Read, Report), 0);
    std::size_t place = 0;
    for (unsigned int step = 0; step < 100; ++step) {
      const std::size_t size = sizes[random.Below(std::size(sizes))];
      const unsigned int action = random.Below(7);
      if (action < 3) {
        const std::size_t bases[] = {0, place, content.size()};
        place = random.Below(content.size() + 1);
        const auto offset = static_cast<__int64>(place) - static_cast<__int64>(bases[action]);
        ASSERT_EQ(file.Seek(static_cast<IO::SeekOrigin>(action), offset), 0);
      } else if (action == 3) {
        std::string_view bytes;
        const int end = place == content.size() ? IO::StatusEndOfInput : 0;
        ASSERT_EQ(file.PeekBin(&bytes), end);
        ASSERT_EQ(bytes.empty(), end != 0);
        ASSERT_TRUE(content.compare(place, bytes.size(), bytes) == 0);
        const std::size_t taken = std::min(size, bytes.size());
        file.Advance(static_cast<unsigned int>(taken));
        place += taken;
      } else if (action == 4) {
        unsigned __int64 skipped = 0;
        ASSERT_EQ(file.Skip(size, &skipped), 0);
        ASSERT_EQ(skipped, std::min(size, content.size() - place));
        place += skipped;
      } else {
        const std::string wanted = content.substr(place, size);
        std::string text;
        ASSERT_EQ(ReadText(file, size, text), wanted.size() < size ? IO::StatusEndOfInput : 0);
        ASSERT_TRUE(text == wanted);
        place += wanted.size();
      }
      unsigned __int64 available = 0;
      ASSERT_EQ(file.GetAvailableSize(&available), 0);
      ASSERT_EQ(available, content.size() - place);
    }
  }
}

TEST_F(IOFile, WritesAreCarriedOnAndStopAtAFullDisk) {
  const PieceLimit limit(3);
  const FileFault interruption(CallWrite, EINTR, 1, 3);
  const DiskSpace space(11);
  File file(folder.At("f"), OnNotFound::Ignore);
  ASSERT_EQ(file.Open(OpenMode::WriteEmpty, Report), 0);
  unsigned int written = 0;
  EXPECT_EQ(WriteText(file, "12345678abcdefgh", &written), IO::StatusOutputFull);
  EXPECT_EQ(written, 11U);
  EXPECT_EQ(folder.Read("f"), "12345678abc");
}

TEST_F(IOFile, LockIsHeldByOneOpenFileUntilThatIsClosed) {
  const SleepRecord record;
  folder.Write("f", "");
  std::filesystem::create_hard_link(folder.GetPath() / "f", folder.GetPath() / "twin");
  File first(folder.At("f"), OnNotFound::Fail);
  File second(folder.At("twin"), OnNotFound::Fail);
  EXPECT_EQ(first.Lock(0), IO::StatusNotOpen);
  ASSERT_EQ(first.Open(OpenMode::Update, Report), 0);
  ASSERT_EQ(second.Open(OpenMode::Read, Report), 0);
  EXPECT_EQ(first.Lock(0), 0);
  EXPECT_EQ(first.Lock(0), 0);
  EXPECT_EQ(second.Lock(1000), IO::StatusLocked);
  EXPECT_EQ(std::accumulate(record.sleeps.begin(), record.sleeps.end(), 0L), 1000);
  first.Close();
  EXPECT_EQ(second.Lock(0), 0);
}

}  // namespace
