#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <zlib.h>

#include "Larkspan/Common/IO/Codec.h"
#include "tests/support/Compress.h"
#include "tests/support/Noise.h"
#include "tests/support/PlainInflater.h"

namespace {

using namespace Larkspan::Common::IO;
using namespace Tests;
using Codec::BlockCodec;
using Codec::BlockEnd;
using Codec::Engine;

constexpr std::size_t MiB = BlockCodec::MaxBlockSize;

std::vector<Engine> GetEngines() {
  std::vector<Engine> engines = {Engine::Zlib};
  if (Codec::HasEngine(Engine::Libdeflate)) engines.push_back(Engine::Libdeflate);
  return engines;
}

// Words of which some come again, and a stretch that doesn't compress: many kinds of blocks.
std::string MakeData(std::size_t size, unsigned int seed) {
  std::string data = Noise(size / 5, seed);
  for (unsigned int word = seed; data.size() < size; word = word * 1103515245 + 12345) {
    data += std::to_string(word >> (word % 23));
  }
  data.resize(size);
  return data;
}

std::string Deflate(BlockCodec& codec, const std::string& data, BlockEnd end) {
  std::string block(BlockCodec::GetDeflateBound(data.size()), '\0');
  block.resize(codec.Deflate(data.data(), data.size(), end, block.data()));
  return block;
}

// What an engine makes of a whole stream: the plain bytes, or a word for its refusal.
std::string Inflate(Engine engine, const std::string& stream, std::size_t plainSize) {
  std::string plain(plainSize, '\0');
  const bool whole =
      BlockCodec(engine).Inflate(stream.data(), stream.size(), plain.data(), plainSize);
  return whole ? plain : "refused";
}

TEST(Codec, BlocksOfAnyEngineJoinIntoOneStreamThatZlibReads) {
  for (const Engine engine : GetEngines()) {
    BlockCodec codec(engine);
    for (const std::size_t size : {0UL, 1UL, 2UL, 3UL, 100UL, 0x8000UL, 70001UL, MiB - 1, MiB}) {
      SCOPED_TRACE(size);
      std::string plain;
      std::string stream = "\x78\x9c";
      for (unsigned int seed = 1; seed <= 4; ++seed) {
        const std::string data = seed == 3 ? Noise(size) : MakeData(size, seed);
        const BlockEnd end = seed == 4 ? BlockEnd::Last : BlockEnd::Open;
        const std::string block = Deflate(codec, data, end);
        // An open block is a stream of its own, but for its end.
        const std::string alone = end == BlockEnd::Last ? block : block + '\x03' + '\0';
        for (const Engine reader : GetEngines()) EXPECT_EQ(Inflate(reader, alone, size), data);
        plain += data;
        stream += block;
      }
      const uLong sum = adler32_z(1, reinterpret_cast<const Bytef*>(plain.data()), plain.size());
      for (int shift = 24; shift >= 0; shift -= 8) stream += static_cast<char>(sum >> shift);
      std::string read(plain.size() + 1, '\0');
      uLongf count = read.size();
      uLong used = stream.size();
      EXPECT_EQ(uncompress2(reinterpret_cast<Bytef*>(read.data()), &count,
                            reinterpret_cast<const Bytef*>(stream.data()), &used),
                Z_OK);
      read.resize(count);
      EXPECT_EQ(read, plain);
      EXPECT_EQ(used, stream.size());
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
