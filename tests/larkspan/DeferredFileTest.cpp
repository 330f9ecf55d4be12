#include <cerrno>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/DeferredFileOBinaryChannel.h"
#include "tests/support/AllocationFault.h"
#include "tests/support/ExpectFailures.h"
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

TEST(PagedBuffer, RefusesWhatItCannotHoldAndChangesNothing) {
  SmallPages buffer(0);
  buffer.Write("1234", 4);
  const std::string invalid = "IllegalArgumentException: Invalid buffer";
  const std::string tooLarge =
      "IOException: Failed to grow paged buffer: maximum supported size is exceeded.";
  ExpectFailures({
      {[&] { buffer.SetCapacity(3); },
       invalid + " capacity: the requested capacity must be higher the current size."},
      {[&] { buffer.Write("", 0); }, invalid + " size: buffer size is 0."},
      {[&] { buffer.Write(nullptr, 1); }, invalid + ": buffer is null."},
      {[&] { buffer.Write("", SmallPages::MaxSize - 3); }, tooLarge},
      {[&] { buffer.EnsureCapacity(SmallPages::MaxSize + 1); }, tooLarge},
  });
  EXPECT_EQ(buffer.GetCapacity(), 16U);
}

constexpr unsigned int Threshold = 100;
const std::string incomplete =
    "IOException: Deferred file binary output channel is incomplete: an earlier write failed.";

class DeferredFile : public testing::Test {
 protected:
  // Writes in pieces of 20 bytes. A piece that fails is tried once more.
  void WriteInPieces(const std::string& bytes) {
    for (std::size_t start = 0; start < bytes.size(); start += 20) {
      const auto write = [&] { channel.Write(bytes.data() + start, 20); };
      if (!FailureOf(write).empty()) FailureOf(write);
    }
  }
  void ExpectDeliveredTwice(const std::string& bytes) {
    channel.Close();
    RecordingOutput sink;
    channel.WriteTo(sink);
    channel.WriteTo(sink);
    EXPECT_EQ(sink.content, bytes + bytes);
  }
  const TemporaryFolder folder;
  DeferredFileOBinaryChannel channel{folder.At("f"), Threshold};
  const std::string small = std::string(Threshold, 's');
  const std::string large = std::string(50000, 'l');
};

TEST_F(DeferredFile, RefusesWhatHasNoSoundOutcome) {
  RecordingOutput sink;
  DeferredFileOBinaryChannel closed(folder.At("g"), 3);
  closed.Close();
  DeferredFileOBinaryChannel failed(folder.At("no folder/f"), 3);
  DeferredFileOBinaryChannel late(folder.At("g"), 3);
  late.Write("1234", 4);
  const std::string invalid = "IllegalArgumentException: Invalid ";
  const std::string thresholding = "IOException: Thresholding binary output channel is closed.";
  ExpectFailures({
      {[&] { DeferredFileOBinaryChannel(folder.At("f"), 0); },
       invalid + "threshold: threshold is 0."},
      {[&] { DeferredFileOBinaryChannel(folder.At("f"), 0x100000000); },
       invalid + "threshold: threshold is larger than maximum supported size."},
      {[&] { DeferredFileOBinaryChannel(IO::Location(), 1); },
       invalid + "location: location is empty."},
      {[&] { DeferredFileOBinaryChannel(folder.At("f"), 0xFFFFFFFF).Close(); }, ""},
      {[&] { channel.WriteTo(sink); },
       "IOException: Deferred file binary output channel hasn't been closed yet."},
      {[&] { channel.Write("", 0); }, invalid + "buffer size: size is 0."},
      {[&] { closed.Write("x", 1); }, thresholding},
      {[&] { closed.Flush(); }, thresholding},
      {[&] { failed.Write("1234", 4); },
       "IOException: Failed to create file binary output channel: failed to open file."},
      {[&] { failed.Write("1", 1); }, incomplete},
      {[&] {
         const FileFault fault(CallClose, EIO);
         late.Close();
       },
       "IOException: Failed to close file binary output channel."},
      {[&] { late.Close(); }, ""},
      {[&] { late.WriteTo(sink); }, incomplete},
  });
  EXPECT_EQ(channel.GetThreshold(), Threshold);
}

TEST_F(DeferredFile, IsMadeByTheWriteThatLeadsPastTheThreshold) {
  WriteInPieces(small);
  EXPECT_FALSE(channel.IsThresholdExceeded());
  EXPECT_EQ(folder.Read("f"), "(missing)");
  channel.Write("+", 1);
  EXPECT_TRUE(channel.IsThresholdExceeded());
  EXPECT_EQ(folder.Read("f"), small + "+");
  ExpectDeliveredTwice(small + "+");
}

TEST_F(DeferredFile, IsNotMadeForWhatStaysWithinTheThreshold) {
  WriteInPieces(small);
  ExpectDeliveredTwice(small);
  EXPECT_EQ(folder.GetNames(), std::vector<std::string>());
}

TEST_F(DeferredFile, WriteThatFailsKeepsWhatTheMemoryHoldsAndElseLeavesTheOutputIncomplete) {
  for (unsigned int passing = 0; passing < 3; ++passing) {  // the first write moves the memory
    SCOPED_TRACE(passing);
    DeferredFileOBinaryChannel failing(folder.At("f"), Threshold);
    const FileFault full(CallWrite, ENOSPC, passing, 1);
    for (int piece = 0; piece < 10; ++piece) {
      FailureOf([&] { failing.Write(small.data(), 50); });
    }
    EXPECT_TRUE(full.HasStruck());
    EXPECT_EQ(FailureOf([&] { failing.Write("x", 1); }), incomplete);
    failing.Close();
    RecordingOutput sink;
    EXPECT_EQ(FailureOf([&] { failing.WriteTo(sink); }), passing == 0 ? "" : incomplete);
    EXPECT_EQ(sink.content, passing == 0 ? small : "");
  }
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

TEST_F(DeferredFile, RefusedWriteThatMadeTheFileDoesHarmUnlessAnotherLeadsPastTheThreshold) {
  for (const bool passes : {true, false}) {
    DeferredFileOBinaryChannel refusing(folder.At("f"), Threshold);
    refusing.Write(small.data(), 80);
    EXPECT_EQ(FailureOf([&] { refusing.Write(nullptr, Threshold + 1); }),
              "IllegalArgumentException: Invalid source buffer: buffer is null.");
    refusing.Write(small.data(), passes ? 40 : 20);
    refusing.Close();
    RecordingOutput sink;
    EXPECT_EQ(FailureOf([&] { refusing.WriteTo(sink); }), passes ? "" : incomplete);
    EXPECT_EQ(sink.content, passes ? std::string(120, 's') : "");
  }
}

TEST_F(DeferredFile, FileThatSomebodyHasCutIsReported) {
  WriteInPieces(large);
  channel.Close();
  folder.Write("f", small);
  RecordingOutput sink;
  EXPECT_EQ(FailureOf([&] { channel.WriteTo(sink); }),
            "IOException: Failed to read deferred file: file is shorter than what was written.");
}

}  // namespace
