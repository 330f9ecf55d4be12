#include <string>

#include <gtest/gtest.h>

#include "Larkspan/Common/IO/DeflaterOBinaryChannel.h"
#include "tests/support/Compress.h"
#include "tests/support/FailureOf.h"
#include "tests/support/Noise.h"
#include "tests/support/PlainInflater.h"
#include "tests/support/RecordingOutput.h"

namespace {

using namespace Larkspan::Common::IO;
using namespace Tests;

// What zlib's own decoder makes of a stream.
std::string Decompress(const std::string& compressed) {
  PiecewiseInput source(compressed);
  std::string plain(100000, '\0');
  PlainInflater inflater(source, 100000);
  plain.resize(inflater.Read(plain.data(), plain.size(), Vx::IBinaryChannel::ReadSome));
  return plain;
}

TEST(Deflater, OnlyFourLevelsAndNoSmallBuffersAndZlibReadsTheRest) {
  const std::string data = Noise(5000) + std::string(50000, 'r') + "end";
  const std::string refusal = "IllegalArgumentException: Invalid ";
  for (int level = -3; level <= 10; ++level) {
    const bool legal = level == -1 || level == 0 || level == 1 || level == 9;
    for (const unsigned int size : {0U, 63U, 64U, 1024U}) {
      RecordingOutput sink;
      const std::string failure = FailureOf([&] {
        DeflaterOBinaryChannel channel(
            sink, static_cast<DeflaterOBinaryChannel::CompressionLevel>(level), size);
        channel.Write(data.data(), static_cast<unsigned int>(data.size()));
        channel.Close();
      });
      if (!legal) {
        EXPECT_EQ(failure, refusal + "compression level.") << level;
      } else if (size < 64) {
        EXPECT_EQ(failure, refusal + "buffer size: buffer size is too small.") << size;
      } else {
        EXPECT_EQ(Decompress(sink.content), data) << level;
        EXPECT_GT(sink.Count("Write " + std::to_string(size)), 0U);
      }
    }
  }
}

TEST(Deflater, FlushFinishAndCloseEachWriteWhatIsDue) {
  RecordingOutput sink;
  DeflaterOBinaryChannel channel(sink, DeflaterOBinaryChannel::DefaultCompression, 1024);
  channel.Flush();
  EXPECT_EQ(sink.calls, std::vector<std::string>{"Flush"});
  channel.Write("first", 5);
  EXPECT_EQ(sink.content, "");
  channel.Flush();
  PiecewiseInput flushed(sink.content);
  EXPECT_EQ(PlainInflater(flushed, 5).GetAvailable(), 5U);
  channel.Write(" last", 5);
  channel.Finish();
  const std::string content = sink.content;
  EXPECT_EQ(Decompress(content), "first last");
  channel.Finish();
  channel.Close();
  EXPECT_EQ(sink.content, content);
  EXPECT_EQ(FailureOf([&] { channel.Finish(); }), "IOException: Deflater output channel closed.");
  RecordingOutput unused;
  DeflaterOBinaryChannel(unused, DeflaterOBinaryChannel::DefaultCompression, 64).Close();
  EXPECT_EQ(unused.calls, (std::vector<std::string>{"Write 8", "Flush", "Close"}));
}

TEST(Inflater, SeenFromBothSidesItIsThePlainForm) {
  const std::string noise = Noise(100000);
  std::string mixed;
  for (unsigned int word = 0; mixed.size() < 100000; ++word) {
    mixed += noise.substr(word % 500, word % 7) + std::string(word % 300, 'w');
  }
  for (const unsigned int length : {0U, 1U, 64U, 1023U, 1024U, 1025U, 65536U, 100000U}) {
    for (const std::string& data : {noise, mixed, std::string(100000, '\0')}) {
      const std::string compressed = Compress(data.substr(0, length)) + "behind";
      for (const std::size_t piece : {0U, 7U, 1000U, 100000U}) {
        EXPECT_EQ(CompareWithPlainForm(compressed, piece, 64, length), "");
        EXPECT_EQ(CompareWithPlainForm(compressed, piece, 1024, length), "");
      }
    }
  }
}

TEST(Inflater, CutBrokenOrFlippedAnywhereItFailsAsThePlainForm) {
  const std::string compressed = Compress(Noise(300) + std::string(20000, 'r'));
  for (unsigned int at = 0; at < compressed.size(); ++at) {
    EXPECT_EQ(CompareWithPlainForm(compressed, 20, 64, at, at), "");
    for (const std::size_t piece : {0U, 50U}) {
      const std::string cut = compressed.substr(0, at);
      EXPECT_EQ(CompareWithPlainForm(cut, piece, at % 2 == 0 ? 64 : 1024, at), "");
      for (unsigned int bit = 0; bit < 8; ++bit) {
        std::string flipped = compressed;
        flipped[at] = static_cast<char>(flipped[at] ^ (1 << bit));
        EXPECT_EQ(CompareWithPlainForm(flipped, piece, bit % 3 == 0 ? 64 : 512, at), "");
      }
    }
  }
}

}  // namespace
