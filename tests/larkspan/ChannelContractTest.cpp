#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "Larkspan/Common/IO/CRC32IBinaryChannel.h"
#include "Larkspan/Common/IO/CRC32OBinaryChannel.h"
#include "Larkspan/Common/IO/CountingIBinaryChannel.h"
#include "Larkspan/Common/IO/CountingOBinaryChannel.h"
#include "Larkspan/Common/IO/DeflaterOBinaryChannel.h"
#include "Larkspan/Common/IO/InflaterIBinaryChannel.h"
#include "Larkspan/Common/IO/ThresholdingOBinaryChannel.h"
#include "tests/support/FailureOf.h"
#include "tests/support/Noise.h"
#include "tests/support/PiecewiseInput.h"
#include "tests/support/RecordingOutput.h"

namespace {

using namespace Larkspan::Common::IO;
using namespace Tests;

using Output = std::unique_ptr<Vx::OBinaryChannel>;
using Input = std::unique_ptr<Vx::IBinaryChannel>;

// An output channel and the input channel that reads what it wrote. A new pair joins with a row.
struct Pair {
  const char* name;
  Output (*over)(Vx::OBinaryChannel& sink);
  Input (*from)(Vx::IBinaryChannel& source);
};

template <class Base, class T, auto... arguments>
std::unique_ptr<Base> Make(Base& below) {
  return std::make_unique<T>(below, arguments...);
}

Output MakeArchive(Vx::OBinaryChannel& sink) {
  auto archive = std::make_unique<ArchiveOBinaryChannel>(sink, 0U);
  archive->PutNextEntry(u"entry", ArchiveEntry::Deflated);
  return archive;
}

Input OpenArchive(Vx::IBinaryChannel& source) {
  auto archive = std::make_unique<ArchiveIBinaryChannel>(source);
  static_cast<void>(archive->GetNextEntry());
  return archive;
}

struct Threshold final : ThresholdingOBinaryChannel {
  explicit Threshold(Vx::OBinaryChannel& sink) : ThresholdingOBinaryChannel(100), below(sink) {}
  Vx::OBinaryChannel& GetOutputChannel() override { return below; }
  Vx::OBinaryChannel& GetOutputChannel() const override { return below; }
  void ThresholdReached() override {}
  Vx::OBinaryChannel& below;
};

constexpr auto MakeDeflater =
    Make<Vx::OBinaryChannel, DeflaterOBinaryChannel, DeflaterOBinaryChannel::BestSpeed, 64U>;
constexpr auto MakeInflater = Make<Vx::IBinaryChannel, InflaterIBinaryChannel, 64U>;
const Pair pairs[] = {
    {"CRC32", Make<Vx::OBinaryChannel, CRC32OBinaryChannel>,
     Make<Vx::IBinaryChannel, CRC32IBinaryChannel>},
    {"Threshold", Make<Vx::OBinaryChannel, Threshold>,
     Make<Vx::IBinaryChannel, CountingIBinaryChannel>},
    {"Deflate", MakeDeflater, MakeInflater},
    {"Archive", MakeArchive, OpenArchive},
};

class Channels : public testing::TestWithParam<Pair> {
 protected:
  void WriteAll(std::size_t cut, RecordingOutput& sink) const {
    const Output channel = GetParam().over(sink);
    for (std::size_t start = 0; start < data.size(); start += cut) {
      const std::string piece = data.substr(start, cut);
      channel->Write(piece.data(), static_cast<unsigned int>(piece.size()));
      channel->Write("", 0);
    }
    auto* archive = dynamic_cast<ArchiveOBinaryChannel*>(channel.get());
    if (archive != nullptr) archive->CloseEntry();
    channel->Flush();
    EXPECT_EQ(sink.calls.back(), "Flush");
    channel->Close();
  }
  [[nodiscard]] std::string Encode(std::size_t cut = std::string::npos / 2) const {
    RecordingOutput sink;
    WriteAll(cut, sink);
    return sink.content;
  }

  const std::string data = Noise(700) + std::string(700, 'a');
};

TEST_P(Channels, ResultDependsNeitherOnCutsNorOnPiecesOfTheSourceNorOnSizesOfReads) {
  const std::string whole = Encode();
  for (const std::size_t cut : {1U, 2U, 3U, 7U, 64U, 100U, 101U}) {
    EXPECT_EQ(Encode(cut), whole) << cut;
    for (const unsigned int step : {1U, 2U, 3U, 7U, 64U, 4096U}) {
      PiecewiseInput source(whole, cut);
      const Input channel = GetParam().from(source);
      EXPECT_GT(channel->GetAvailable(), 0U);
      EXPECT_LE(channel->GetAvailable(), data.size());
      EXPECT_EQ(ReadRest(*channel, step), data) << cut << ", " << step;
      EXPECT_EQ(channel->GetAvailable(), 0U);
    }
  }
}

TEST_P(Channels, SinkThatIsFullAndSourceThatBreaksAtAnyByteAreReported) {
  const std::string whole = Encode(50);
  PiecewiseInput counted(whole);
  const Input channel = GetParam().from(counted);
  const std::size_t first = counted.GetPosition();  // what `from` reads isn't broken
  static_cast<void>(ReadRest(*channel));
  for (std::size_t at = 0; at < whole.size(); ++at) {
    RecordingOutput sink(at);
    EXPECT_EQ(FailureOf([&] { WriteAll(50, sink); }), "IOException: No room.");
    EXPECT_EQ(sink.content, whole.substr(0, at));  // destruction adds nothing
    if (at < first || at >= counted.GetPosition()) continue;
    PiecewiseInput source(whole, 50, at);
    EXPECT_EQ(FailureOf([&] { return ReadRest(*GetParam().from(source), 50); }),
              "IOException: The source is broken.");
  }
}

INSTANTIATE_TEST_SUITE_P(All, Channels, testing::ValuesIn(pairs),
                         [](const auto& row) { return row.param.name; });

TEST(Digests, SeeWhatHasGoneThroughSinceTheirResetAndStayReadableAfterClose) {
  RecordingOutput sink(15);
  CountingOBinaryChannel outputCount(sink);
  CRC32OBinaryChannel output(outputCount);
  output.Write("before", 6);
  output.ResetCRC();
  outputCount.ResetCount();
  output.Write("123456789", 9);
  EXPECT_EQ(FailureOf([&] { output.Write("123456789", 9); }), "IOException: No room.");
  output.Close();
  EXPECT_EQ(output.GetCRC(), 0xCBF43926U);
  EXPECT_EQ(outputCount.GetCount(), 9U);
  PiecewiseInput source("before123456789", 2);
  CountingIBinaryChannel inputCount(source);
  CRC32IBinaryChannel input(inputCount);
  EXPECT_EQ(ReadRest(input, 6, 6), "before");
  input.ResetCRC();
  inputCount.ResetCount();
  EXPECT_EQ(ReadRest(input), "123456789");
  input.Close();
  EXPECT_EQ(input.GetCRC(), 0xCBF43926U);
  EXPECT_EQ(inputCount.GetCount(), 9U);
}

}  // namespace
