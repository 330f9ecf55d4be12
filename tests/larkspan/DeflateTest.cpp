#include <array>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <zlib.h>

#include "Larkspan/Common/IO/CountingIBinaryChannel.h"
#include "Larkspan/Common/IO/DeflaterOBinaryChannel.h"
#include "Larkspan/Common/IO/InflaterIBinaryChannel.h"
#include "foundation/Vx/MemoryIBinaryChannel.h"
#include "tests/larkspan/ArchiveSample.h"
#include "tests/support/FailureOf.h"
#include "tests/support/MallocFault.h"
#include "tests/support/PiecewiseInput.h"
#include "tests/support/RecordingOutput.h"

namespace {

using Deflater = Larkspan::Common::IO::DeflaterOBinaryChannel;
using Larkspan::Common::IO::InflaterIBinaryChannel;
using Tests::FailureOf;
using Tests::RecordingOutput;

constexpr std::array levels = {Deflater::DefaultCompression, Deflater::NoCompression,
                               Deflater::BestSpeed, Deflater::BestCompression};

const std::string emptyStream("\x78\x9C\x03\0\0\0\0\x01", 8);

// As zlib's own decoder has it, with what stands behind the stream; "(bad)" if it isn't one.
std::string Decompress(std::string compressed, std::size_t room, bool complete = true) {
  std::string plain(room, '\0');
  z_stream stream{};
  inflateInit(&stream);
  stream.next_in = reinterpret_cast<Bytef*>(compressed.data());
  stream.avail_in = static_cast<uInt>(compressed.size());
  stream.next_out = reinterpret_cast<Bytef*>(plain.data());
  stream.avail_out = static_cast<uInt>(room);
  const int result = inflate(&stream, Z_SYNC_FLUSH);
  plain.resize(room - stream.avail_out);
  plain.append(compressed, compressed.size() - stream.avail_in);
  inflateEnd(&stream);
  return result == (complete ? Z_STREAM_END : Z_OK) ? plain : "(bad)";
}

void Write(Vx::OBinaryChannel& channel, const std::string& data) {
  channel.Write(data.data(), static_cast<unsigned int>(data.size()));
}

TEST(Deflater, EveryLevelMakesAStreamThatZlibReads) {
  for (const auto level : levels) {
    for (const unsigned int bufferSize : {64U, 1024U}) {
      const std::string data = Tests::Noise(5000) + std::string(50000, 'r') + "end";
      RecordingOutput sink;
      Deflater channel(sink, level, bufferSize);
      Write(channel, data);
      channel.Close();
      EXPECT_EQ(Decompress(sink.content, 100000), data) << level;
      for (const std::string& call : sink.calls) {
        EXPECT_TRUE(!call.starts_with("Write ") || std::stoul(call.substr(6)) <= bufferSize);
      }
    }
  }
}

TEST(Deflater, NoDataIsTheSmallestStream) {
  RecordingOutput sink;
  Deflater channel(sink, Deflater::DefaultCompression, 64);
  channel.Close();
  EXPECT_EQ(sink.content, emptyStream);
  EXPECT_EQ(sink.calls, (std::vector<std::string>{"Write 8", "Flush", "Close"}));
}

TEST(Deflater, FlushMakesAllThatWasWrittenReadable) {
  RecordingOutput sink;
  Deflater channel(sink, Deflater::DefaultCompression, 1024);
  channel.Flush();
  EXPECT_EQ(sink.calls, std::vector<std::string>{"Flush"});
  Write(channel, "first words");
  EXPECT_EQ(sink.content, "");
  channel.Flush();
  EXPECT_EQ(Decompress(sink.content, 100, false), "first words");
  const std::size_t flushed = sink.content.size();
  channel.Flush();
  EXPECT_EQ(sink.content.size(), flushed);
  Write(channel, ", last words");
  channel.Close();
  EXPECT_EQ(Decompress(sink.content, 100), "first words, last words");
}

TEST(Deflater, FinishEndsTheStreamOnce) {
  RecordingOutput sink;
  Deflater channel(sink, Deflater::DefaultCompression, 64);
  Write(channel, "abc");
  channel.Finish();
  const std::string content = sink.content;
  EXPECT_EQ(Decompress(content, 10), "abc");
  EXPECT_EQ(sink.Count("Flush") + sink.Count("Close"), 0U);
  channel.Finish();
  channel.Flush();
  channel.Close();
  EXPECT_EQ(sink.content, content);
  EXPECT_EQ(FailureOf([&] { channel.Finish(); }), "IOException: Deflater output channel closed.");
  EXPECT_EQ(FailureOf([&] { channel.Write("", 0); }),
            "IOException: Deflater output channel closed.");
}

TEST(Deflater, DataBehindTheEndFailsInTheNextPump) {
  RecordingOutput sink;
  Deflater channel(sink, Deflater::DefaultCompression, 64);
  channel.Finish();
  channel.Write("x", 1);
  EXPECT_EQ(FailureOf([&] { channel.Flush(); }), "IOException: Deflate failed: stream error");
  EXPECT_EQ(FailureOf([&] { channel.Close(); }), "IOException: Deflate failed: buffer error");
  EXPECT_EQ(sink.content, emptyStream);
}

TEST(Deflater, OnlyFourLevelsAndNoSmallBuffers) {
  RecordingOutput sink;
  for (int level = -3; level <= 10; ++level) {
    const bool legal = level == -1 || level == 0 || level == 1 || level == 9;
    for (const unsigned int size : {0U, 63U, 64U}) {
      const char* expected = "IllegalArgumentException: Invalid compression level.";
      if (legal) {
        expected = size >= 64 ? ""
                              : "IllegalArgumentException: Invalid buffer size: buffer size is too "
                                "small.";
      }
      EXPECT_EQ(FailureOf([&] {
                  Deflater channel(sink, static_cast<Deflater::CompressionLevel>(level), size);
                }),
                expected)
          << level << ", " << size;
    }
  }
}

TEST(DeflateMemory, EachAllocationThatFailsHasItsMessage) {
  if (!Tests::MallocFault::IsAvailable()) GTEST_SKIP() << "The sanitizer has its own malloc.";
  const struct {
    int allocation;
    std::string deflater;
    std::string inflater;
  } rows[] = {
      {1, "OutOfMemoryException: Failed to allocate input buffer for deflater output channel.",
       "OutOfMemoryException: Failed to allocate input buffer for inflater input channel."},
      {2, "OutOfMemoryException: Failed to allocate output buffer for deflater output channel.",
       "OutOfMemoryException: Failed to allocate output buffer for inflater input channel."},
      {3, "OutOfMemoryException: Failed to allocate deflater.",
       "OutOfMemoryException: Failed to allocate inflater."},
      {4, "IOException: Failed to initialize deflater.",
       "IOException: Failed to initialize inflater."},
  };
  RecordingOutput sink;
  Tests::PiecewiseInput source("");
  for (const auto& [allocation, deflater, inflater] : rows) {
    std::string failure;
    {
      const Tests::MallocFault fault(allocation, 100);
      failure = FailureOf([&] { Deflater channel(sink, Deflater::BestSpeed, 1024); });
    }
    EXPECT_EQ(failure, deflater);
    {
      const Tests::MallocFault fault(allocation, 100);
      failure = FailureOf([&] { InflaterIBinaryChannel channel(source, 1024); });
    }
    EXPECT_EQ(failure, inflater);
  }
}

// The inflater as it is specified by its plainest form: one buffer, one copy, a refill as soon as
// the buffer is used up.
class PlainInflater final {
 public:
  PlainInflater(Vx::IBinaryChannel& channel, unsigned int bufferSize)
      : source(channel), input(bufferSize, '\0'), output(bufferSize, '\0') {
    inflateInit(&stream);
  }
  PlainInflater(const PlainInflater&) = delete;
  PlainInflater& operator=(const PlainInflater&) = delete;
  ~PlainInflater() { inflateEnd(&stream); }

  unsigned int Read(char* buffer, unsigned int size, Vx::IBinaryChannel::ReadSomeModeSelector) {
    if (position == valid && !ended) Fill();
    if (position == valid) return 0;
    unsigned int total = 0;
    while (total < size) {
      const auto count = std::min<std::size_t>(size - total, valid - position);
      output.copy(buffer + total, count, position);
      position += count;
      total += static_cast<unsigned int>(count);
      if (position == valid && !ended) Fill();
      if (position == valid) break;
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
        const unsigned int count = source.Read(
            input.data(), static_cast<unsigned int>(input.size()), Vx::IBinaryChannel::ReadSome);
        if (count == 0) throw Vx::IOException("Inflate failed: end of stream reached.");
        stream.avail_in = count;
        stream.next_in = reinterpret_cast<Bytef*>(input.data());
      }
      const int result = inflate(&stream, Z_NO_FLUSH);
      ended = result == Z_STREAM_END;
      if (result != Z_OK && !ended) {
        throw Vx::IOException((std::string("Inflate failed: ") + zError(result)).c_str());
      }
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

// The source of a comparison: compressed bytes, how they are delivered, where they break.
struct Stream {
  std::string bytes;
  std::size_t piece = 0;  // 0: they lie in memory, where they can be peeked into
  std::size_t breakAt = std::string::npos;
};

// One side of a comparison: an inflater over a source that shows what was taken from it.
template <class Form>
struct Side {
  Side(const Stream& stream, unsigned int bufferSize, bool peekable)
      : pieces(stream.bytes, stream.piece == 0 ? std::string::npos : stream.piece, stream.breakAt),
        memory(stream.bytes.data(), static_cast<unsigned int>(stream.bytes.size())),
        counter(peekable ? static_cast<Vx::IBinaryChannel&>(memory) : pieces),
        inflater(counter, bufferSize) {}

  Tests::PiecewiseInput pieces;
  Vx::MemoryIBinaryChannel memory;
  Larkspan::Common::IO::CountingIBinaryChannel counter;
  Form inflater;
  std::string buffer = std::string(65536, '\0');
  unsigned __int64 count = 0;
};

// Reads both with the same random sizes until the end, or until some reads have failed, and
// compares all that the caller and the source see at each step.
void CompareWithPlainForm(const Stream& stream, unsigned int bufferSize, unsigned int seed) {
  SCOPED_TRACE("buffer " + std::to_string(bufferSize) + ", seed " + std::to_string(seed) +
               ", bytes " + std::to_string(stream.bytes.size()) + ", piece " +
               std::to_string(stream.piece));
  constexpr unsigned int sizes[] = {0, 1, 2, 63, 64, 65, 500, 1023, 1024, 1025, 4096, 65536};
  Side<InflaterIBinaryChannel> real(stream, bufferSize, stream.piece == 0);
  Side<PlainInflater> plain(stream, bufferSize, false);
  const auto compare = [&](const auto& step) {
    const std::string failure = FailureOf([&] { step(real); });
    EXPECT_EQ(failure, FailureOf([&] { step(plain); }));
    EXPECT_EQ(real.count, plain.count);
    EXPECT_TRUE(stream.piece == 0 || real.pieces.asked == plain.pieces.asked);
    EXPECT_EQ(real.counter.GetCount(), plain.counter.GetCount());
    return failure;
  };
  unsigned int random = seed;
  int failures = 3;
  for (int ends = 0; ends < 2 && failures > 0 && !testing::Test::HasFailure();) {
    random = random * 1103515245 + 12345;
    const unsigned int size = sizes[(random >> 16) % std::size(sizes)];
    const std::string failure = compare([size](auto& side) {
      side.count = 0;
      side.count = side.inflater.Read(side.buffer.data(), size, Vx::IBinaryChannel::ReadSome);
    });
    ASSERT_EQ(real.buffer.substr(0, real.count), plain.buffer.substr(0, plain.count));
    if ((random >> 12) % 3 == 0) {
      compare([](auto& side) { side.count = side.inflater.GetAvailable(); });
    } else if (failure.empty() && size != 0) {
      ends += real.count == 0 ? 1 : 0;
    }
    failures -= failure.empty() ? 0 : 1;
  }
}

using Tests::Compress;

TEST(Inflater, SeenFromBothSidesItIsThePlainForm) {
  const std::string noise = Tests::Noise(200000);
  const std::string zeros(200000, '\0');
  std::string mixed;
  for (unsigned int word = 0; mixed.size() < 200000; ++word) {
    mixed += noise.substr(word % 500, word % 7) + std::string(word % 300, 'w');
  }
  for (const std::size_t length : {0U, 1U, 63U, 64U, 1023U, 1024U, 1025U, 2048U, 65536U, 200000U}) {
    for (const std::string& data :
         {noise.substr(0, length), zeros.substr(0, length), mixed.substr(0, length)}) {
      const std::string compressed = Compress(data);
      for (const unsigned int bufferSize : {64U, 512U, 1024U}) {
        for (const std::size_t piece : {0U, 7U, 1000U, 100000U}) {
          CompareWithPlainForm({compressed + "behind", piece}, bufferSize,
                               static_cast<unsigned int>(length + piece));
        }
      }
    }
  }
}

TEST(Inflater, CutAnywhereItFailsAsThePlainForm) {
  const std::string compressed = Compress(Tests::Noise(300) + std::string(5000, 'r'));
  for (std::size_t cut = 0; cut < compressed.size(); ++cut) {
    for (const unsigned int bufferSize : {64U, 512U, 1024U}) {
      for (unsigned int seed = 0; seed < 4; ++seed) {
        CompareWithPlainForm({compressed.substr(0, cut), seed % 2 == 0 ? 100U : 0U}, bufferSize,
                             seed);
      }
    }
  }
}

TEST(Inflater, WithAnyBitFlippedItDoesAsThePlainForm) {
  const std::string compressed = Compress(Tests::Noise(600) + std::string(5000, 'r') + "end");
  for (std::size_t bit = 0; bit < compressed.size() * 8; ++bit) {
    std::string flipped = compressed;
    flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << (bit % 8)));
    CompareWithPlainForm({flipped, bit % 2 == 0 ? 50U : 0U}, bit % 3 == 0 ? 64 : 512,
                         static_cast<unsigned int>(bit));
  }
}

TEST(Inflater, SourceThatBreaksAnywhereIsReportedAsByThePlainForm) {
  const std::string compressed = Compress(Tests::Noise(300) + std::string(20000, 'r'));
  for (std::size_t at = 0; at < compressed.size(); ++at) {
    CompareWithPlainForm({compressed, 20, at}, 64, static_cast<unsigned int>(at));
  }
}

TEST(Inflater, WrongHeaderComesUpInTheFirstFill) {
  Tests::PiecewiseInput source("no zlib stream");
  InflaterIBinaryChannel channel(source, 64);
  EXPECT_EQ(FailureOf([&] { return channel.GetAvailable(); }),
            "IOException: Inflate failed: data error");
}

}  // namespace
