#include <memory>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/ArchiveIBinaryChannel.h"
#include "Larkspan/Common/IO/CRC32IBinaryChannel.h"
#include "Larkspan/Common/IO/CountingIBinaryChannel.h"
#include "Larkspan/Common/IO/InflaterIBinaryChannel.h"
#include "Larkspan/Common/IO/JavaDataInputProtocolX.h"
#include "foundation/Vx/BufferedIBinaryChannel.h"
#include "foundation/Vx/ChunkedIBinarySubChannel.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/support/ByteBuilder.h"
#include "tests/support/FailureOf.h"
#include "tests/support/PiecewiseInput.h"

namespace {

using namespace Larkspan::Common::IO;
using Tests::ByteBuilder;
using Tests::FailureOf;
using Tests::PiecewiseInput;
using Tests::ReadRest;

using Channel = std::unique_ptr<Vx::IBinaryChannel>;
using ChannelRef = Vx::Ref<Vx::IBinaryChannel, Vx::AtomicCounter>;

// An input channel over a source that holds the data in the form given. A new channel joins with
// one line.
struct Filter {
  const char* name;
  std::string (*encode)(const std::string& data);
  Channel (*make)(Vx::IBinaryChannel& source);
  const char* afterClose;
  int closesBelow;  // closes that reach the source from two
};

void PrintTo(const Filter& filter, std::ostream* stream) {
  *stream << filter.name;
}

std::string AsItIs(const std::string& data) {
  return data;
}

std::string Framed(const std::string& data) {
  ByteBuilder bytes;
  for (std::size_t start = 0; start < data.size(); start += 100) {
    const std::string frame = data.substr(start, 100);
    bytes.U32(frame.size()).Raw(frame);
  }
  return bytes.U32(0);
}

template <unsigned int Method>
std::string Archived(const std::string& data) {
  return Tests::ToBytes({0, {}, {{"entry", Method, {}, data}}});
}

Channel OpenArchive(Vx::IBinaryChannel& source) {
  auto archive = std::make_unique<ArchiveIBinaryChannel>(source);
  static_cast<void>(archive->GetNextEntry());
  return archive;
}

template <class T, auto... arguments>
Channel Make(Vx::IBinaryChannel& source) {
  return std::make_unique<T>(source, arguments...);
}

Channel MakeFraming(Vx::IBinaryChannel& source) {
  return std::make_unique<Vx::ChunkedIBinarySubChannel>(source,
                                                        JavaDataInputProtocolX::GetInstance());
}

const char* const SourceClosed = "IOException: The source is closed.";
const char* const ArchiveClosed = "IOException: Archive binary input channel is closed.";

const Filter filters[] = {
    {"Counting", AsItIs, Make<CountingIBinaryChannel>, SourceClosed, 2},
    {"CRC32", AsItIs, Make<CRC32IBinaryChannel>, SourceClosed, 2},
    {"Inflater", Tests::Compress, Make<InflaterIBinaryChannel, 64U>,
     "IOException: Inflater input channel closed.", 1},
    {"Chunked", Framed, MakeFraming, "IOException: Chunked binary input sub-channel is closed.", 0},
    {"Buffered", AsItIs, Make<Vx::BufferedIBinaryChannel, 100U>,
     "IOException: Buffered binary input channel is closed.", 1},
    {"ArchiveStored", Archived<ArchiveEntry::Stored>, OpenArchive, ArchiveClosed, 1},
    {"ArchiveDeflated", Archived<ArchiveEntry::Deflated>, OpenArchive, ArchiveClosed, 1},
};

class InputFilter : public testing::TestWithParam<Filter> {
 protected:
  const std::string data = Tests::Noise(700) + std::string(700, 'a');
};

TEST_P(InputFilter, ResultDependsNeitherOnPiecesOfTheSourceNorOnSizesOfReads) {
  for (const std::size_t piece : {1U, 2U, 3U, 7U, 100000U}) {
    for (const unsigned int step : {1U, 2U, 3U, 7U, 64U, 4096U}) {
      PiecewiseInput source(GetParam().encode(data), piece);
      const Channel channel = GetParam().make(source);
      EXPECT_EQ(ReadRest(*channel, step), data) << piece << ", " << step;
      char byte = 0;
      EXPECT_EQ(channel->Read(&byte, 1, Vx::IBinaryChannel::ReadSome), 0U);
    }
  }
}

TEST_P(InputFilter, AvailableIsNeverMoreThanThereIsAndNoneAtTheEnd) {
  PiecewiseInput source(GetParam().encode(data));
  const Channel channel = GetParam().make(source);
  for (std::size_t left = data.size(); left > 0;) {
    const auto available = channel->GetAvailable();
    EXPECT_GT(available, 0U);
    EXPECT_LE(available, left);
    char buffer[50];
    left -= channel->Read(buffer, sizeof(buffer), Vx::IBinaryChannel::ReadSome);
  }
  EXPECT_EQ(channel->GetAvailable(), 0U);
}

TEST_P(InputFilter, CloseTwiceIsHarmlessAndNothingIsReadAfterIt) {
  PiecewiseInput source(GetParam().encode(data));
  const Channel channel = GetParam().make(source);
  char byte = 0;
  EXPECT_EQ(channel->Read(&byte, 1, Vx::IBinaryChannel::ReadSome), 1U);
  channel->Close();
  channel->Close();
  EXPECT_EQ(source.closes, GetParam().closesBelow);
  EXPECT_EQ(FailureOf([&] { return ReadRest(*channel); }), GetParam().afterClose);
  EXPECT_EQ(FailureOf([&] { return channel->GetAvailable(); }), GetParam().afterClose);
}

TEST_P(InputFilter, SourceThatBreaksAtAnyByteIsReported) {
  PiecewiseInput whole(GetParam().encode(data));
  const std::string name(GetParam().name);
  // A name that can't be read ends an archive; what lies before it is not read here.
  std::size_t first = 0;
  {
    const Channel channel = GetParam().make(whole);
    if (name.starts_with("Archive")) first = whole.GetPosition();
    static_cast<void>(ReadRest(*channel));
  }
  for (std::size_t at = first; at < whole.GetPosition(); ++at) {
    PiecewiseInput source(GetParam().encode(data), 50, at);
    EXPECT_EQ(FailureOf([&] { return ReadRest(*GetParam().make(source), 50); }),
              "IOException: The source is broken.")
        << at;
  }
}

INSTANTIATE_TEST_SUITE_P(All, InputFilter, testing::ValuesIn(filters),
                         [](const auto& row) { return row.param.name; });

TEST(InputFilters, DigestsFollowBothFormsOfReadAndStayReadableAfterClose) {
  PiecewiseInput source("123456789", 2);
  CountingIBinaryChannel counter(source);
  CRC32IBinaryChannel channel(counter);
  char buffer[20];
  EXPECT_EQ(channel.Read(buffer, 3, Vx::IBinaryChannel::ReadSome), 2U);
  EXPECT_EQ(channel.Read(buffer, 20, Vx::IBinaryChannel::ReadAll), 7U);
  EXPECT_EQ(channel.Read(buffer, 20, Vx::IBinaryChannel::ReadSome), 0U);
  channel.Close();
  EXPECT_EQ(channel.GetCRC(), 0xCBF43926U);
  EXPECT_EQ(counter.GetCount(), 9U);
  channel.ResetCRC();
  counter.ResetCount();
  EXPECT_EQ(channel.GetCRC() + counter.GetCount(), 0U);
}

TEST(InputFilters, EmptyReferenceIsRefused) {
  const ChannelRef none;
  const std::string binary =
      "IllegalArgumentException: Invalid binary input channel: channel is null.";
  EXPECT_EQ(FailureOf([&] { CountingIBinaryChannel channel(none); }), binary);
  EXPECT_EQ(FailureOf([&] { CRC32IBinaryChannel channel(none); }), binary);
  EXPECT_EQ(FailureOf([&] { ArchiveIBinaryChannel channel(none); }), binary);
  EXPECT_EQ(FailureOf([&] { InflaterIBinaryChannel channel(none, 64); }),
            "IllegalArgumentException: Invalid input channel: channel is null.");
}

}  // namespace
