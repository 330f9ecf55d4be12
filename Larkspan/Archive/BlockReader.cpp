#include "Larkspan/Archive/BlockReader.h"

#include <algorithm>
#include <array>

#include "Larkspan/Common/IO/BigEndian.h"

namespace Larkspan::Archive {
namespace {

namespace BigEndian = Common::IO::BigEndian;
namespace Codec = Common::IO::Codec;
using Codec::BlockCodec;
using Common::IO::ArchiveEntry;

constexpr unsigned int LengthSize = 4;
constexpr unsigned int FooterSize = 20;
// Of a zlib stream, RFC 1950.
constexpr unsigned int HeadSize = 2;
constexpr unsigned int SumSize = 4;
// A last block without data, which makes a stream of one that goes on.
constexpr std::array<char, 2> LastBlock = {'\x03', '\x00'};

unsigned int DecodeU32(const char* bytes) noexcept {
  return BigEndian::Decode<unsigned int>({bytes[0], bytes[1], bytes[2], bytes[3]});
}

// RFC 1950, 2.2: deflate, no preset dictionary, and a check.
bool IsStreamHead(const char* bytes) noexcept {
  const auto method = static_cast<unsigned char>(bytes[0]);
  const auto flags = static_cast<unsigned char>(bytes[1]);
  return (method & 0x8F) == 8 && (flags & 0x20) == 0 && (method * 256 + flags) % 31 == 0;
}

bool IsFooterOf(const EntryPlace& place, const char* bytes) noexcept {
  const auto archived = BigEndian::Encode(place.archivedSize);
  const auto size = BigEndian::Encode(place.size);
  const auto crc = BigEndian::Encode(place.crc);
  return std::equal(archived.begin(), archived.end(), bytes) &&
         std::equal(size.begin(), size.end(), bytes + 8) &&
         std::equal(crc.begin(), crc.end(), bytes + 16);
}

std::size_t GetEncodedBound() noexcept {
  return BlockCodec::GetDeflateBound(BlockReader::BlockSize) + HeadSize + SumSize +
         LastBlock.size();
}

}  // namespace

BlockReader::Frames BlockReader::FindBlocks(const RandomInput& input, const EntryPlace& place) {
  const unsigned __int64 framing = place.end - place.data;
  Frames frames;
  if (place.method != ArchiveEntry::Deflated || place.size <= BlockSize ||
      framing < place.archivedSize + FooterSize + LengthSize) {
    return frames;
  }
  // As many frames as blocks.
  const unsigned __int64 blocks = (place.size - 1) / BlockSize + 1;
  if (framing - place.archivedSize - FooterSize != (blocks + 1) * LengthSize) return frames;
  unsigned __int64 offset = place.data;
  for (unsigned __int64 block = 0; block < blocks; ++block) {
    std::array<char, LengthSize> length;
    if (input.ReadAt(offset, length.data(), LengthSize) != LengthSize) return {};
    const unsigned int size = DecodeU32(length.data());
    offset += LengthSize;
    if (size > GetEncodedBound() || size > place.end - offset) return {};
    frames.push_back({offset, size});
    offset += size;
  }
  std::array<char, LengthSize + FooterSize> rest;
  if (input.ReadAt(offset, rest.data(), rest.size()) != rest.size() ||
      DecodeU32(rest.data()) != 0 || !IsFooterOf(place, rest.data() + LengthSize)) {
    return {};
  }
  const Frame& last = frames.back();
  return frames.front().size < HeadSize || last.size < SumSize ? Frames() : frames;
}

unsigned int BlockReader::ReadSum(const RandomInput& input, const Frame& last) {
  std::array<char, SumSize> sum = {};
  static_cast<void>(input.ReadAt(last.offset + last.size - SumSize, sum.data(), SumSize));
  return DecodeU32(sum.data());
}

bool BlockReader::Decode(const RandomInput& input, const EntryPlace& place, const Frames& frames,
                         std::size_t block, char* plain, Block& decoded) {
  if (!encoded) encoded = Vx::NewByteArray(GetEncodedBound() + LastBlock.size());
  const Frame& frame = frames[block];
  if (input.ReadAt(frame.offset, encoded.get(), frame.size) != frame.size) return false;
  const char* data = encoded.get();
  std::size_t size = frame.size;
  std::size_t plainSize = BlockSize;
  if (block == 0) {
    if (!IsStreamHead(data)) return false;
    data += HeadSize;
    size -= HeadSize;
  }
  if (block + 1 == frames.size()) {
    size -= SumSize;
    plainSize = (place.size - 1) % BlockSize + 1;
  } else {
    std::ranges::copy(LastBlock, encoded.get() + frame.size);
    size += LastBlock.size();
  }
  if (!codec.Inflate(data, size, plain, plainSize)) return false;
  decoded = {{plain, plainSize},
             Codec::AddToCRC32(0, plain, plainSize),
             Codec::AddToAdler32(1, plain, plainSize)};
  return true;
}

bool BlockReader::DecodeWhole(const EntryPlace& place, std::string_view text,
                              std::string_view bytes, char* plain, Block& decoded) {
  if (place.size > BlockSize || !bytes.starts_with(text)) return false;
  bytes.remove_prefix(text.size());
  // One frame, the empty one, and a footer that fits; or no frame at all.
  const bool hasFrame = place.archivedSize != 0;
  if (bytes.size() != place.archivedSize + (hasFrame ? 2ULL : 1ULL) * LengthSize + FooterSize) {
    return false;
  }
  std::string_view stream;
  if (hasFrame) {
    if (DecodeU32(bytes.data()) != place.archivedSize) return false;
    stream = bytes.substr(LengthSize, place.archivedSize);
    bytes.remove_prefix(LengthSize + place.archivedSize);
  }
  if (DecodeU32(bytes.data()) != 0 || !IsFooterOf(place, bytes.data() + LengthSize)) return false;
  if (place.method == ArchiveEntry::Stored) {
    decoded = {stream, Codec::AddToCRC32(0, stream.data(), stream.size()), 1};
    return stream.size() == place.size && decoded.crc == place.crc;
  }
  if (stream.size() < HeadSize + SumSize || !IsStreamHead(stream.data())) return false;
  if (!codec.Inflate(stream.data() + HeadSize, stream.size() - HeadSize - SumSize, plain,
                     place.size)) {
    return false;
  }
  decoded = {{plain, static_cast<std::size_t>(place.size)},
             Codec::AddToCRC32(0, plain, place.size),
             Codec::AddToAdler32(1, plain, place.size)};
  return decoded.crc == place.crc &&
         decoded.adler == DecodeU32(stream.data() + stream.size() - SumSize);
}

}  // namespace Larkspan::Archive
