#include <cerrno>
#include <functional>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/DeferredFileOBinaryChannel.h"
#include "tests/support/AllocationFault.h"
#include "tests/support/FailureOf.h"
#include "tests/support/FileFault.h"
#include "tests/support/RecordingOutput.h"
#include "tests/support/TemporaryFolder.h"

namespace {

// Every operation is tried with each of its allocations failing; what fails changes nothing.
TEST(PagedBuffer, BehavesAsAStringWhicheverAllocationFails) {
  const unsigned int seed = std::random_device()();
  std::minstd_rand random(seed);
  const auto draw = [&](std::size_t end) { return static_cast<unsigned int>(random() % end); };
  Larkspan::Common::PagedBuffer<16, 2> buffer(0);
  std::string model;
  for (unsigned int step = 0; step < 200; ++step) {
    const std::string text(draw(2) * draw(70), static_cast<char>(step));
    const auto size = static_cast<unsigned int>(text.size()), capacity = buffer.GetCapacity();
    unsigned int room = buffer.GetSize() + draw(step % 8 == 0 ? 5000 : 50);
    const auto work = [&] { size ? buffer.Write(text.data(), size) : buffer.SetCapacity(room); };
    for (int n = 1;; ++n) {
      const Larkspan::Testing::AllocationFault fault(n);
      if (Tests::FailureOf(work).empty()) break;
      ASSERT_EQ(buffer.GetCapacity(), capacity) << "seed " << seed << ", step " << step;
    }
    model += text;
    if (size) room = model.size() <= capacity ? capacity : (buffer.GetSize() + 15) / 16 * 16;
    ASSERT_EQ(buffer.GetCapacity(), room) << "seed " << seed << ", step " << step;
    char part[100];
    const unsigned int from = draw(model.size() + 1), most = draw(sizeof(part)) + 1;
    ASSERT_EQ(std::string(part, buffer.Read(from, part, most)), model.substr(from, most)) << seed;
  }
  EXPECT_EQ(Tests::FailureOf([&] { buffer.Write("", 0xFFFFFFF1U - buffer.GetSize()); }),
            "IOException: Failed to grow paged buffer: maximum supported size is exceeded.");
}

// Writes `bytes` in pieces of 20, each again if it fails, and `refused` from nowhere after 80, with
// a threshold of 100. Gives what two calls of `WriteTo` deliver or fail with.
std::string Deliver(const IO::Location& at, const std::string& bytes, unsigned int refused = 0) {
  Larkspan::Common::IO::DeferredFileOBinaryChannel channel(at, 100);
  for (std::size_t start = 0; start < bytes.size(); start += 20) {
    if (start == 80) Tests::FailureOf([&] { channel.Write(nullptr, refused); });
    const auto write = [&] { channel.Write(bytes.data() + start, 20); };
    if (!Tests::FailureOf(write).empty()) Tests::FailureOf(write);
  }
  channel.Close();
  Tests::RecordingOutput sink;
  std::string failure = Tests::FailureOf([&] { channel.WriteTo(sink), channel.WriteTo(sink); });
  return failure.empty() ? sink.content : failure;
}

TEST(DeferredFile, RefusesWhatHasNoSoundOutcome) {
  const Tests::TemporaryFolder folder;
  using Larkspan::Common::IO::DeferredFileOBinaryChannel;
  Tests::RecordingOutput sink;
  DeferredFileOBinaryChannel open(folder.At("f"), 3), closed(folder.At("f"), 3);
  DeferredFileOBinaryChannel failed(folder.At("no folder/f"), 3), late(folder.At("g"), 3);
  Larkspan::Common::PagedBuffer<16, 1> buffer(0);
  buffer.Write("1234", 4);
  late.Write("1234", 4);
  closed.Close();
  const std::string invalid = "IllegalArgumentException: Invalid ";
  const std::string thresholding = "IOException: Thresholding binary output channel is closed.";
  const std::string incomplete =
      "IOException: Deferred file binary output channel is incomplete: an earlier write failed.";
  const std::pair<std::function<void()>, std::string> rows[] = {
      {[&] { DeferredFileOBinaryChannel(folder.At("f"), 0); },
       invalid + "threshold: threshold is 0."},
      {[&] { DeferredFileOBinaryChannel(folder.At("f"), 0x100000000); },
       invalid + "threshold: threshold is larger than maximum supported size."},
      {[&] { DeferredFileOBinaryChannel(IO::Location(), 1); },
       invalid + "location: location is empty."},
      {[&] { DeferredFileOBinaryChannel(folder.At("f"), 0xFFFFFFFF).Close(); }, ""},
      {[&] { open.WriteTo(sink); },
       "IOException: Deferred file binary output channel hasn't been closed yet."},
      {[&] { open.Write("", 0); }, invalid + "buffer size: size is 0."},
      {[&] { closed.Write("x", 1); }, thresholding},
      {[&] { closed.Flush(); }, thresholding},
      {[&] { failed.Write("1234", 4); },
       "IOException: Failed to create file binary output channel: failed to open file."},
      {[&] { failed.Write("1", 1); }, incomplete},
      {[&] {
         const Tests::FileFault fault(Tests::CallClose, EIO);
         late.Close();
       },
       "IOException: Failed to close file binary output channel."},
      {[&] { late.Close(), late.WriteTo(sink); }, incomplete},
      {[&] { buffer.SetCapacity(3); },
       invalid + "buffer capacity: the requested capacity must be higher the current size."},
      {[&] { buffer.Write("", 0); }, invalid + "buffer size: buffer size is 0."},
      {[&] { buffer.Write(nullptr, 1); }, invalid + "buffer: buffer is null."}};
  for (const auto& [work, failure] : rows) EXPECT_EQ(Tests::FailureOf(work), failure);
  EXPECT_EQ(buffer.GetCapacity(), 16U);
}

TEST(DeferredFile, IsMadeBehindTheThresholdAndDeliversAllOrNothing) {
  const Tests::TemporaryFolder folder;
  const std::string small(100, 'a'), large(50000, 'b');
  const std::string incomplete =
      "IOException: Deferred file binary output channel is incomplete: an earlier write failed.";
  EXPECT_EQ(Deliver(folder.At("no folder/f"), small), small + small);
  for (unsigned int n = 0; n < 3; ++n) {  // the first write in the switch, the next two behind it
    const Tests::FileFault full(Tests::CallWrite, ENOSPC, n, 1);
    EXPECT_EQ(Deliver(folder.At("f"), large), incomplete);
  }
  EXPECT_EQ(Deliver(folder.At("f"), large, 21), large + large);
  EXPECT_EQ(folder.Read("f"), large);
  EXPECT_EQ(Deliver(folder.At("f"), small, 21), incomplete);
  Larkspan::Common::IO::DeferredFileOBinaryChannel cut(folder.At("f"), 100);
  cut.Write(large.data(), 200);
  cut.Close();
  folder.Write("f", small);
  Tests::RecordingOutput sink;
  EXPECT_EQ(Tests::FailureOf([&] { cut.WriteTo(sink); }),
            "IOException: Failed to read deferred file: file is shorter than what was written.");
}

}  // namespace
