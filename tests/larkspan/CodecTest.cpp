#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <zlib.h>

#include "Larkspan/Common/IO/Codec.h"
#include "tests/support/Noise.h"
#include "tests/support/PlainInflater.h"
#include "tests/support/SeededRandom.h"

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

// libdeflate lets pass a few forms that RFC 1951 forbids and zlib refuses, such as unused codes.
TEST(Codec, EnginesAgreeOnStreamsThatAreCutOrFlippedOrHaveMoreBehindThem) {
  SeededRandom random;
  int laxities = 0;
  for (int round = 0; round < 3000; ++round) {
    const std::size_t size = random.Below(3000);
    BlockCodec codec(round % 2 == 0 ? Codec::GetFastestEngine() : Engine::Zlib);
    std::string stream = Deflate(codec, MakeData(size, random.Below(1000000)), BlockEnd::Last);
    std::size_t claimed = size;
    switch (random.Below(5)) {
      case 0:
        break;
      case 1:
        stream.resize(random.Below(stream.size()));
        break;
      case 2:
        stream[random.Below(stream.size())] ^= static_cast<char>(1 << random.Below(8));
        break;
      case 3:
        stream += static_cast<char>(random());
        break;
      default:
        claimed = random.Below(2 * size + 2);
        break;
    }
    const std::string expected = Inflate(Engine::Zlib, stream, claimed);
    const std::string fast = Inflate(Codec::GetFastestEngine(), stream, claimed);
    if (expected == "refused" && fast != expected) {
      ++laxities;
    } else {
      EXPECT_EQ(fast, expected);
    }
  }
  EXPECT_LT(laxities, 30);
}

TEST(Codec, SumsAreThoseOfZlibAndJoin) {
  const std::string data = MakeData(100000, 7);
  const auto* const bytes = reinterpret_cast<const Bytef*>(data.data());
  for (const unsigned int cut : {0U, 1U, 15U, 4097U, 99999U, 100000U}) {
    const auto rest = static_cast<unsigned int>(data.size()) - cut;
    const unsigned int crc = Codec::AddToCRC32(0, data.data(), cut);
    const unsigned int adler = Codec::AddToAdler32(1, data.data(), cut);
    const unsigned int restCRC = Codec::AddToCRC32(0, data.data() + cut, rest);
    const unsigned int restAdler = Codec::AddToAdler32(1, data.data() + cut, rest);
    const uLong wholeCRC = crc32(0, bytes, 100000);
    const uLong wholeAdler = adler32(1, bytes, 100000);
    EXPECT_EQ(Codec::AddToCRC32(crc, data.data() + cut, rest), wholeCRC);
    EXPECT_EQ(Codec::AddToAdler32(adler, data.data() + cut, rest), wholeAdler);
    EXPECT_EQ(Codec::JoinCRC32(crc, restCRC, rest), wholeCRC);
    EXPECT_EQ(Codec::JoinAdler32(adler, restAdler, rest), wholeAdler);
  }
}

}  // namespace
