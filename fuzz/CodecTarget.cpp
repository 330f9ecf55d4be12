#include "Larkspan/Common/IO/Codec.h"
#include "fuzz/Target.h"

/// Whole deflate streams, by both engines: what zlib reads, libdeflate reads alike. (It also reads
/// a few that zlib refuses.)
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace Larkspan::Common::IO;
  using Codec::BlockCodec;
  std::string_view bytes = Fuzz::ToView(data, size);
  const std::size_t plainSize = Fuzz::TakeByte(bytes) * 256 + Fuzz::TakeByte(bytes);
  std::string expected(plainSize, '\0');
  std::string plain(plainSize, '\0');
  BlockCodec zlib(Codec::Engine::Zlib);
  BlockCodec fastest;
  BlockCodec fast(Codec::GetFastestEngine(), Codec::Level::Fast);
  BlockCodec best(Codec::GetFastestEngine(), Codec::Level::Best);
  const bool isWhole = zlib.Inflate(bytes.data(), bytes.size(), expected.data(), plainSize);
  const bool isTaken = fastest.Inflate(bytes.data(), bytes.size(), plain.data(), plainSize);
  Fuzz::Require(!isWhole || (isTaken && plain == expected), "both engines read a stream alike");

  // What one engine writes of the input, the other reads.
  for (BlockCodec* const writer : {&zlib, &fastest, &fast, &best}) {
    for (const Codec::BlockEnd end : {Codec::BlockEnd::Open, Codec::BlockEnd::Last}) {
      std::string block(BlockCodec::GetDeflateBound(bytes.size()), '\0');
      block.resize(writer->Deflate(bytes.data(), bytes.size(), end, block.data()));
      if (end == Codec::BlockEnd::Open) block.append("\x03\x00", 2);
      plain.assign(bytes.size(), '\0');
      BlockCodec& reader = writer == &zlib ? fastest : zlib;
      Fuzz::Require(
          reader.Inflate(block.data(), block.size(), plain.data(), plain.size()) && plain == bytes,
          "a block comes back");
    }
  }
  return 0;
}
