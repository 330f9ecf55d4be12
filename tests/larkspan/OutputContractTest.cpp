#include <memory>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "Larkspan/Common/IO/CRC32OBinaryChannel.h"
#include "Larkspan/Common/IO/CountingOBinaryChannel.h"
#include "Larkspan/Common/IO/DeflaterOBinaryChannel.h"
#include "Larkspan/Common/IO/JavaDataOutputProtocolX.h"
#include "foundation/Vx/BufferedOBinaryChannel.h"
#include "foundation/Vx/ChunkedOBinarySubChannel.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/support/FailureOf.h"
#include "tests/support/RecordingOutput.h"

namespace {

using namespace Larkspan::Common::IO;
using Tests::FailureOf;
using Tests::RecordingOutput;

using Channel = std::unique_ptr<Vx::OBinaryChannel>;
using ChannelRef = Vx::Ref<Vx::OBinaryChannel, Vx::AtomicCounter>;

// An output channel over a sink. A new channel joins with one line.
struct Filter {
  const char* name;
  Channel (*make)(Vx::OBinaryChannel& sink);
  const char* afterClose;  // what a write fails with then
  int closesBelow;         // closes that reach the sink from two
};

void PrintTo(const Filter& filter, std::ostream* stream) {
  *stream << filter.name;
}

template <class T, auto... arguments>
Channel Make(Vx::OBinaryChannel& sink) {
  return std::make_unique<T>(sink, arguments...);
}

Channel MakeFraming(Vx::OBinaryChannel& sink) {
  return std::make_unique<Vx::ChunkedOBinarySubChannel>(
      sink, JavaDataOutputProtocolX::GetInstance(), 100U);
}

template <ArchiveEntry::Method method>
Channel MakeArchive(Vx::OBinaryChannel& sink) {
  auto archive = std::make_unique<ArchiveOBinaryChannel>(sink, 0U);
  archive->PutNextEntry(u"entry", method);
  return archive;
}

const char* const SinkClosed = "IOException: The sink is closed.";
const char* const ArchiveClosed = "IOException: Archive binary output channel is closed.";

const Filter filters[] = {
    {"Counting", Make<CountingOBinaryChannel>, SinkClosed, 2},
    {"CRC32", Make<CRC32OBinaryChannel>, SinkClosed, 2},
    {"Deflater", Make<DeflaterOBinaryChannel, DeflaterOBinaryChannel::BestSpeed, 64U>,
     "IOException: Deflater output channel closed.", 1},
    {"Chunked", MakeFraming, "IOException: Chunked binary output sub-channel is closed.", 0},
    {"Buffered", Make<Vx::BufferedOBinaryChannel, 100U>,
     "IOException: Buffered binary output channel is closed.", 1},
    {"ArchiveStored", MakeArchive<ArchiveEntry::Stored>, ArchiveClosed, 1},
    {"ArchiveDeflated", MakeArchive<ArchiveEntry::Deflated>, ArchiveClosed, 1},
};

class OutputFilter : public testing::TestWithParam<Filter> {
 protected:
  static void WriteAll(const Filter& filter, const std::string& data, std::size_t cut,
                       RecordingOutput& sink) {
    const Channel channel = filter.make(sink);
    for (std::size_t start = 0; start < data.size(); start += cut) {
      const std::string piece = data.substr(start, cut);
      channel->Write(piece.data(), static_cast<unsigned int>(piece.size()));
    }
    channel->Flush();
    channel->Close();
  }

  const std::string data = Tests::Noise(700) + std::string(700, 'a');
};

TEST_P(OutputFilter, ResultDoesNotDependOnHowWritesCutTheData) {
  RecordingOutput whole;
  WriteAll(GetParam(), data, data.size(), whole);
  for (const std::size_t cut : {1U, 2U, 3U, 7U, 64U, 100U, 101U}) {
    RecordingOutput sink;
    WriteAll(GetParam(), data, cut, sink);
    EXPECT_EQ(sink.content, whole.content) << cut;
  }
}

TEST_P(OutputFilter, FlushReachesTheSinkBehindTheData) {
  RecordingOutput sink;
  const Channel channel = GetParam().make(sink);
  const std::size_t before = sink.content.size();
  channel->Write("x", 1);
  channel->Flush();
  EXPECT_GT(sink.content.size(), before);
  EXPECT_EQ(sink.calls.back(), "Flush");
}

TEST_P(OutputFilter, WriteOfNothingChangesNothing) {
  RecordingOutput with;
  RecordingOutput without;
  const Channel channel = GetParam().make(with);
  channel->Write("", 0);
  channel->Write("x", 1);
  channel->Write("", 0);
  channel->Close();
  const Channel other = GetParam().make(without);
  other->Write("x", 1);
  other->Close();
  EXPECT_EQ(with.content, without.content);
}

TEST_P(OutputFilter, CloseTwiceIsHarmlessAndNothingIsTakenAfterIt) {
  RecordingOutput sink;
  const Channel channel = GetParam().make(sink);
  channel->Write("x", 1);
  channel->Close();
  const std::string content = sink.content;
  channel->Close();
  EXPECT_EQ(sink.Count("Close"), static_cast<std::size_t>(GetParam().closesBelow));
  EXPECT_EQ(FailureOf([&] { channel->Write("y", 1); }), GetParam().afterClose);
  EXPECT_EQ(FailureOf([&] { channel->Flush(); }), GetParam().afterClose);
  EXPECT_EQ(sink.content, content);
}

TEST_P(OutputFilter, DestructionNeitherWritesNorCloses) {
  RecordingOutput sink;
  Channel channel = GetParam().make(sink);
  channel->Write("x", 1);
  const auto calls = sink.calls;
  channel.reset();
  EXPECT_EQ(sink.calls, calls);
}

TEST_P(OutputFilter, SinkThatIsFullAtAnyByteIsReported) {
  RecordingOutput whole;
  WriteAll(GetParam(), data, 50, whole);
  for (std::size_t room = 0; room < whole.content.size(); ++room) {
    RecordingOutput sink(room);
    EXPECT_EQ(FailureOf([&] { WriteAll(GetParam(), data, 50, sink); }), "IOException: No room.");
    EXPECT_EQ(sink.content, whole.content.substr(0, room));
  }
}

INSTANTIATE_TEST_SUITE_P(All, OutputFilter, testing::ValuesIn(filters),
                         [](const auto& row) { return row.param.name; });

TEST(OutputFilters, DigestsSeeOnlyWhatTheSinkHasTaken) {
  RecordingOutput sink(12);
  CountingOBinaryChannel counter(sink);
  CRC32OBinaryChannel channel(counter);
  channel.Write("123456789", 9);
  EXPECT_EQ(FailureOf([&] { channel.Write("123456789", 9); }), "IOException: No room.");
  EXPECT_EQ(counter.GetCount(), 9U);
  EXPECT_EQ(channel.GetCRC(), 0xCBF43926U);
  channel.Close();
  EXPECT_EQ(channel.GetCRC(), 0xCBF43926U);
  channel.ResetCRC();
  counter.ResetCount();
  EXPECT_EQ(channel.GetCRC() + counter.GetCount(), 0U);
  CRC32 ofNull;
  ofNull.Update("x", 1);
  ofNull.Update(nullptr, 5);
  EXPECT_EQ(ofNull.GetValue(), 0U);
}

TEST(OutputFilters, EmptyReferenceIsRefusedBeforeAnythingElse) {
  const ChannelRef none;
  const std::string binary =
      "IllegalArgumentException: Invalid binary output channel: channel is null.";
  const auto badLevel = static_cast<DeflaterOBinaryChannel::CompressionLevel>(2);
  EXPECT_EQ(FailureOf([&] { CountingOBinaryChannel channel(none); }), binary);
  EXPECT_EQ(FailureOf([&] { CRC32OBinaryChannel channel(none); }), binary);
  EXPECT_EQ(FailureOf([&] { ArchiveOBinaryChannel channel(none, 255); }), binary);
  EXPECT_EQ(FailureOf([&] { DeflaterOBinaryChannel channel(none, badLevel, 1); }),
            "IllegalArgumentException: Invalid output channel: channel is null.");
}

}  // namespace
