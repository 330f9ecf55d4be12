#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/DeferredFileOBinaryChannel.h"
#include "tests/support/AllocationFault.h"
#include "tests/support/FailureOf.h"
#include "tests/support/FileFault.h"
#include "tests/support/RecordingOutput.h"
#include "tests/support/SeededRandom.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using Larkspan::Common::IO::DeferredFileOBinaryChannel;
using namespace Tests;
namespace fs = std::filesystem;

using SmallPages = Larkspan::Common::PagedBuffer<16, 2>;

constexpr unsigned int ToWholePages(std::size_t size) {
  return static_cast<unsigned int>((size + 15) / 16 * 16);
}

// Runs `work` until it succeeds, with another of its allocations failing each time.
template <class Work>
void SucceedAfterFailures(const SmallPages& buffer, Work work) {
  const unsigned int capacity = buffer.GetCapacity();
  for (int failing = 1;; ++failing) {
    const AllocationFault fault(failing);
    if (FailureOf(work).empty()) return;
    ASSERT_EQ(buffer.GetCapacity(), capacity);
  }
}

TEST(PagedBuffer, BehavesAsAStringWhicheverAllocationFails) {
  SeededRandom random;
  SmallPages buffer(0);
  std::string model;
  unsigned int capacity = 0;
  for (unsigned int step = 0; step < 300; ++step) {
    const std::string text(random.Below(70) + 1, static_cast<char>(step));
    const unsigned int size = buffer.GetSize();
    const unsigned int wanted = size + random.Below(step % 8 == 0 ? 5000 : 50);
    const unsigned int action = random.Below(3);
    if (action == 0) {
      SucceedAfterFailures(buffer, [&] { buffer.SetCapacity(wanted); });
      capacity = wanted;
    } else if (action == 1) {
      SucceedAfterFailures(buffer, [&] { buffer.EnsureCapacity(wanted); });
      if (wanted > capacity) capacity = ToWholePages(wanted);
    } else {
      const auto length = static_cast<unsigned int>(text.size());
      SucceedAfterFailures(buffer, [&] { buffer.Write(text.data(), length); });
      model += text;
      if (model.size() > capacity) capacity = ToWholePages(model.size());
    }
    ASSERT_EQ(buffer.GetSize(), model.size());
    ASSERT_EQ(buffer.GetCapacity(), capacity);
    char part[100];
    const unsigned int start = random.Below(model.size() + 1);
    const unsigned int most = random.Below(sizeof(part)) + 1;
    const unsigned int count = buffer.Read(start, part, most);
    ASSERT_EQ(std::string(part, count), model.substr(start, most));
  }
}

constexpr unsigned int Threshold = 100;
const std::string incomplete =
    "IOException: Deferred file binary output channel is incomplete: an earlier write failed.";

class DeferredFile : public testing::Test {
 protected:
  const TemporaryFolder folder;
  DeferredFileOBinaryChannel channel{folder.At("f"), Threshold};
  const std::string small = std::string(Threshold, 's');
};

TEST_F(DeferredFile, IsMadeByTheWriteThatLeadsPastTheThreshold) {
  channel.Write(small.data(), Threshold);
  EXPECT_EQ(channel.GetThreshold(), Threshold);
  EXPECT_FALSE(channel.IsThresholdExceeded());
  EXPECT_EQ(folder.Read("f"), "(missing)");
  channel.Write("+", 1);
  EXPECT_TRUE(channel.IsThresholdExceeded());
  EXPECT_EQ(folder.Read("f"), small + "+");
  channel.Close();
  RecordingOutput sink;
  channel.WriteTo(sink);
  channel.WriteTo(sink);
  EXPECT_EQ(sink.content, small + "+" + small + "+");
}

TEST_F(DeferredFile, IsMadeAsTheHostAsks) {
  EXPECT_EQ(FailureOf([&] { DeferredFileOBinaryChannel(folder.At("f"), 1, IO::OpenMode::Update); }),
            "IllegalArgumentException: Invalid open mode: mode does not make a file.");
  for (const auto mode : {IO::OpenMode::WriteNew, IO::OpenMode::WriteNewPrivate}) {
    folder.Write("target", "target");
    fs::create_symlink("target", folder.GetPath() / "planted");
    DeferredFileOBinaryChannel refused(folder.At("planted"), 1, mode);
    refused.Write("1", 1);
    EXPECT_NE(FailureOf([&] { refused.Write("2", 1); }), "");
    EXPECT_EQ(folder.Read("target"), "target");
    fs::remove(folder.GetPath() / "planted");

    DeferredFileOBinaryChannel made(folder.At("made"), 1, mode);
    made.Write("12", 2);
    const fs::perms others = fs::perms::group_all | fs::perms::others_all;
    const fs::perms given = fs::status(folder.GetPath() / "made").permissions() & others;
    EXPECT_TRUE(given == fs::perms::none || mode == IO::OpenMode::WriteNew);
    fs::remove(folder.GetPath() / "made");
  }
}

}  // namespace
