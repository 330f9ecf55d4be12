#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/DeferredFileOBinaryChannel.h"
#include "tests/support/FailureOf.h"
#include "tests/support/RecordingOutput.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using Larkspan::Common::IO::DeferredFileOBinaryChannel;
using namespace Tests;
namespace fs = std::filesystem;

TEST(PagedBuffer, GrowsByWholePagesAndKeepsItsBytes) {
  Larkspan::Common::PagedBuffer<16, 2> buffer(0);
  buffer.Write("0123456789", 10);
  buffer.EnsureCapacity(40);
  EXPECT_EQ(buffer.GetCapacity(), 48U);
  buffer.Write("0123456789", 10);
  std::string part(20, '-');
  EXPECT_EQ(buffer.Read(5, part.data(), 20), 15U);
  EXPECT_EQ(part, "567890123456789-----");
}

constexpr unsigned int Threshold = 100;

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
