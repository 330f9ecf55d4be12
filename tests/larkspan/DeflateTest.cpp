#include <random>
#include <string>

#include <gtest/gtest.h>
#include <zlib.h>

#include "Larkspan/Common/IO/CountingIBinaryChannel.h"
#include "Larkspan/Common/IO/DeflaterOBinaryChannel.h"
#include "Larkspan/Common/IO/InflaterIBinaryChannel.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/support/FailureOf.h"
#include "tests/support/PiecewiseInput.h"
#include "tests/support/RecordingOutput.h"

namespace {

using namespace Larkspan::Common::IO;
using Tests::FailureOf;
using Tests::RecordingOutput;

// What zlib's own decoder makes of a stream, or of one that is not at its end yet.
std::string Decompress(std::string compressed, bool complete = true) {
  std::string plain(100000, '\0');
  z_stream stream{};
  inflateInit(&stream);
  stream.next_in = reinterpret_cast<Bytef*>(compressed.data());
  stream.avail_in = static_cast<uInt>(compressed.size());
  stream.next_out = reinterpret_cast<Bytef*>(plain.data());
  stream.avail_out = static_cast<uInt>(plain.size());
  EXPECT_EQ(inflate(&stream, Z_SYNC_FLUSH), complete ? Z_STREAM_END : Z_OK);
  EXPECT_EQ(stream.avail_in, 0U);
  plain.resize(stream.total_out);
  inflateEnd(&stream);
  return plain;
}

TEST(Deflater, OnlyFourLevelsAndNoSmallBuffersAndZlibReadsTheRest) {
  const std::string data = Tests::Noise(5000) + std::string(50000, 'r') + "end";
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
  EXPECT_EQ(Decompress(sink.content, false), "first");
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

// The inflater in its plainest form: one buffer, one copy, a refill as soon as the buffer is used
// up.
class PlainInflater final {
 public:
  PlainInflater(Vx::IBinaryChannel& channel, unsigned int bufferSize)
      : source(channel), input(bufferSize, '\0'), output(bufferSize, '\0') {
    inflateInit(&stream);
  }
  PlainInflater& operator=(PlainInflater&&) = delete;
  ~PlainInflater() { inflateEnd(&stream); }

  std::size_t Read(char* buffer, std::size_t size, Vx::IBinaryChannel::ReadSomeModeSelector) {
    std::size_t total = 0;
    while (GetAvailable() != 0 && total < size) {
      const std::size_t most = std::min(size - total, valid - position);
      position += output.copy(buffer + total, most, position);
      total += most;
    }
    return total;
  }
  std::size_t GetAvailable() {
    if (position == valid && !ended) Fill();
    return valid - position;
  }

 private:
  void Fill() {
    stream.avail_out = static_cast<uInt>(output.size());
    stream.next_out = reinterpret_cast<Bytef*>(output.data());
    while (stream.avail_out != 0 && !ended) {
      if (stream.avail_in == 0) {
        stream.next_in = reinterpret_cast<Bytef*>(input.data());
        stream.avail_in = source.Read(input.data(), static_cast<unsigned int>(input.size()),
                                      Vx::IBinaryChannel::ReadSome);
        if (stream.avail_in == 0) throw Vx::IOException("Inflate failed: end of stream reached.");
      }
      const int result = inflate(&stream, Z_NO_FLUSH);
      ended = result == Z_STREAM_END;
      const std::string failure = std::string("Inflate failed: ") + zError(result);
      if (result != Z_OK && !ended) throw Vx::IOException(failure.c_str());
    }
    valid = output.size() - stream.avail_out;
    position = 0;
  }

  Vx::IBinaryChannel& source;
  std::string input;
  std::string output;
  z_stream stream{};
  std::size_t valid = 0;
  std::size_t position = 0;
  bool ended = false;
};

// Reads both with the same random sizes until the end, and on past some failures, and compares all
// that the caller and the source see at each step. With `piece` 0 the bytes lie in memory, where
// the inflater can peek into them.
void CompareWithPlainForm(const std::string& bytes, std::size_t piece, unsigned int bufferSize,
                          unsigned int seed, std::size_t breakAt = std::string::npos) {
  SCOPED_TRACE(testing::Message() << bytes.size() << " bytes, piece " << piece << ", seed "
                                  << seed);
  constexpr unsigned int sizes[] = {1, 0, 2, 63, 64, 65, 500, 1023, 1024, 1025, 4096, 65536};
  Tests::PiecewiseInput pieces(bytes, piece, breakAt);
  Tests::PiecewiseInput plainPieces(bytes, piece == 0 ? bytes.size() : piece, breakAt);
  Vx::MemoryIBinaryChannel memory(bytes.data(), static_cast<unsigned int>(bytes.size()));
  CountingIBinaryChannel counter(piece == 0 ? static_cast<Vx::IBinaryChannel&>(memory) : pieces);
  CountingIBinaryChannel plainCounter(plainPieces);
  InflaterIBinaryChannel real(counter, bufferSize);
  PlainInflater plain(plainCounter, bufferSize);
  std::minstd_rand random(seed + 1);
  for (int stops = 3; stops > 0 && !testing::Test::HasFailure();) {
    const unsigned int size = sizes[random() % std::size(sizes)];
    const bool asks = random() % 4 == 0;
    const auto step = [&](auto& inflater) {
      std::string data(size, '\0');
      const std::string failure = FailureOf([&] {
        if (asks) data = std::to_string(inflater.GetAvailable());
        if (!asks) data.resize(inflater.Read(data.data(), size, Vx::IBinaryChannel::ReadSome));
      });
      return failure.empty() ? data : failure;
    };
    const std::string outcome = step(real);
    EXPECT_TRUE(outcome == step(plain)) << outcome.substr(0, 100);
    EXPECT_TRUE(piece == 0 || pieces.asked == plainPieces.asked);
    EXPECT_EQ(counter.GetCount(), plainCounter.GetCount());
    if ((outcome.empty() && size != 0) || outcome.starts_with("IOException: ")) --stops;
  }
}

TEST(Inflater, SeenFromBothSidesItIsThePlainForm) {
  const std::string noise = Tests::Noise(100000);
  std::string mixed;
  for (unsigned int word = 0; mixed.size() < 100000; ++word) {
    mixed += noise.substr(word % 500, word % 7) + std::string(word % 300, 'w');
  }
  for (const unsigned int length : {0U, 1U, 64U, 1023U, 1024U, 1025U, 65536U, 100000U}) {
    for (const std::string& data : {noise, mixed, std::string(100000, '\0')}) {
      const std::string compressed = Tests::Compress(data.substr(0, length)) + "behind";
      for (const std::size_t piece : {0U, 7U, 1000U, 100000U}) {
        CompareWithPlainForm(compressed, piece, 64, length);
        CompareWithPlainForm(compressed, piece, 1024, length);
      }
    }
  }
}

TEST(Inflater, CutBrokenOrFlippedAnywhereItFailsAsThePlainForm) {
  const std::string compressed = Tests::Compress(Tests::Noise(300) + std::string(20000, 'r'));
  for (unsigned int at = 0; at < compressed.size(); ++at) {
    CompareWithPlainForm(compressed, 20, 64, at, at);
    for (const std::size_t piece : {0U, 50U}) {
      CompareWithPlainForm(compressed.substr(0, at), piece, at % 2 == 0 ? 64 : 1024, at);
      for (unsigned int bit = 0; bit < 8; ++bit) {
        std::string flipped = compressed;
        flipped[at] = static_cast<char>(flipped[at] ^ (1 << bit));
        CompareWithPlainForm(flipped, piece, bit % 3 == 0 ? 64 : 512, at);
      }
    }
  }
}

}  // namespace
