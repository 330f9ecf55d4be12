#include "Larkspan/Common/IO/Codec.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <climits>
#include <zlib.h>
#ifdef LARKSPAN_HAS_LIBDEFLATE
#include <libdeflate.h>
#endif

#include "Larkspan/Common/IO/ZlibMemory.h"
#include "foundation/Vx/IOException.h"
#include "foundation/Vx/OutOfMemoryException.h"

namespace Larkspan::Common::IO::Codec {
namespace {

constexpr int RawWindowBits = -15;
constexpr int MemoryLevel = 8;

// The levels of the engines, by `Level`.
constexpr std::array<int, 3> ZlibLevels = {1, Z_DEFAULT_COMPRESSION, 9};
#ifdef LARKSPAN_HAS_LIBDEFLATE
constexpr std::array<int, 3> LibdeflateLevels = {1, 6, 12};
#endif

std::size_t GetIndex(Level level) noexcept {
  return static_cast<std::size_t>(level);
}

// Where a deflate stream has its last block and its end, in bits.
struct StreamEnd {
  std::size_t lastBlock;
  std::size_t end;
};

const Bytef* AsBytes(const char* data) noexcept {
  return reinterpret_cast<const Bytef*>(data);
}

// zlib takes sizes of 32 bits.
unsigned int TakePiece(const char*& data, std::size_t& size) noexcept {
  const auto piece = static_cast<unsigned int>(std::min<std::size_t>(size, UINT_MAX));
  data += piece;
  size -= piece;
  return piece;
}

template <class Sum>
[[maybe_unused]] unsigned int AddPieces(Sum add, unsigned int sum, const char* data,
                                        std::size_t size) noexcept {
  while (size != 0) {
    const char* const start = data;
    const unsigned int piece = TakePiece(data, size);
    sum = static_cast<unsigned int>(add(sum, AsBytes(start), piece));
  }
  return sum;
}

}  // namespace

unsigned int AddToCRC32(unsigned int sum, const char* data, std::size_t size) noexcept {
#ifdef LARKSPAN_HAS_LIBDEFLATE
  return libdeflate_crc32(sum, data, size);
#else
  return AddPieces(crc32, sum, data, size);
#endif
}

unsigned int AddToAdler32(unsigned int sum, const char* data, std::size_t size) noexcept {
#ifdef LARKSPAN_HAS_LIBDEFLATE
  return libdeflate_adler32(sum, data, size);
#else
  return AddPieces(adler32, sum, data, size);
#endif
}

unsigned int JoinCRC32(unsigned int first, unsigned int second, unsigned int size) noexcept {
  return static_cast<unsigned int>(crc32_combine(first, second, static_cast<z_off_t>(size)));
}

unsigned int JoinAdler32(unsigned int first, unsigned int second, unsigned int size) noexcept {
  return static_cast<unsigned int>(adler32_combine(first, second, static_cast<z_off_t>(size)));
}

bool HasEngine(Engine engine) noexcept {
#ifdef LARKSPAN_HAS_LIBDEFLATE
  return engine == Engine::Zlib || engine == Engine::Libdeflate;
#else
  return engine == Engine::Zlib;
#endif
}

Engine GetFastestEngine() noexcept {
  return HasEngine(Engine::Libdeflate) ? Engine::Libdeflate : Engine::Zlib;
}

// The states that were needed so far.
class BlockCodec::State final {
 public:
  explicit State(Level stateLevel) noexcept : level(stateLevel) {}
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  ~State() {
    if (hasDeflate) deflateEnd(&deflateStream);
    if (hasInflate) inflateEnd(&inflateStream);
#ifdef LARKSPAN_HAS_LIBDEFLATE
    libdeflate_free_compressor(compressor);
    libdeflate_free_decompressor(decompressor);
#endif
  }

  std::size_t DeflateByZlib(const char* data, std::size_t size, BlockEnd end, char* target) {
    PrepareDeflate();
    deflateStream.next_in = const_cast<Bytef*>(AsBytes(data));
    deflateStream.avail_in = static_cast<uInt>(size);
    deflateStream.next_out = reinterpret_cast<Bytef*>(target);
    deflateStream.avail_out = static_cast<uInt>(GetDeflateBound(size));
    const int result = deflate(&deflateStream, end == BlockEnd::Last ? Z_FINISH : Z_SYNC_FLUSH);
    if (result != (end == BlockEnd::Last ? Z_STREAM_END : Z_OK)) FailToDeflate(__LINE__);
    return deflateStream.total_out;
  }

  bool InflateByZlib(const char* data, std::size_t size, char* plain, std::size_t plainSize) {
    // More can't be a whole stream of so few bytes in any sense that is of use here.
    if (size > UINT_MAX || plainSize > UINT_MAX) return false;
    PrepareInflate();
    Bytef none = 0;
    inflateStream.next_in = const_cast<Bytef*>(AsBytes(data));
    inflateStream.avail_in = static_cast<uInt>(size);
    inflateStream.next_out = plainSize == 0 ? &none : reinterpret_cast<Bytef*>(plain);
    inflateStream.avail_out = static_cast<uInt>(plainSize);
    const int result = inflate(&inflateStream, Z_FINISH);
    return result == Z_STREAM_END && inflateStream.avail_in == 0 && inflateStream.avail_out == 0;
  }

#ifdef LARKSPAN_HAS_LIBDEFLATE
  std::size_t DeflateByLibdeflate(const char* data, std::size_t size, BlockEnd end, char* target) {
    // The engine's own form of no data is longer.
    constexpr std::array<char, 2> EmptyLastBlock = {'\x03', '\x00'};
    if (size == 0 && end == BlockEnd::Last) {
      std::copy(EmptyLastBlock.begin(), EmptyLastBlock.end(), target);
      return EmptyLastBlock.size();
    }
    if (compressor == nullptr) {
      compressor = libdeflate_alloc_compressor(LibdeflateLevels[GetIndex(level)]);
    }
    if (compressor == nullptr) FailForMemory(__LINE__);
    const std::size_t written =
        libdeflate_deflate_compress(compressor, data, size, target, GetDeflateBound(size));
    if (written == 0) FailToDeflate(__LINE__);
    return end == BlockEnd::Last ? written : OpenEnd(data, size, target, written);
  }

  bool InflateByLibdeflate(const char* data, std::size_t size, char* plain, std::size_t plainSize) {
    if (decompressor == nullptr) decompressor = libdeflate_alloc_decompressor();
    if (decompressor == nullptr) FailForMemory(__LINE__);
    std::size_t used = 0;
    const libdeflate_result result = libdeflate_deflate_decompress_ex(
        decompressor, data, size, plain, plainSize, &used, nullptr);
    return result == LIBDEFLATE_SUCCESS && used == size;
  }
#endif

 private:
  [[noreturn]] static void FailForMemory(unsigned int line) {
    throw Vx::OutOfMemoryException("Failed to allocate block codec.", __FILE__, line);
  }
  [[noreturn]] static void FailToDeflate(unsigned int line) {
    throw Vx::IOException("Deflate failed: block can't be decompressed again.", __FILE__, line);
  }

  void PrepareDeflate() {
    if (!hasDeflate) {
      deflateStream = z_stream();
      if (deflateInit2_(&deflateStream, ZlibLevels[GetIndex(level)], Z_DEFLATED, RawWindowBits,
                        MemoryLevel, Z_DEFAULT_STRATEGY, ZlibVersion,
                        static_cast<int>(sizeof(z_stream))) != Z_OK) {
        FailForMemory(__LINE__);
      }
      hasDeflate = true;
    }
    deflateReset(&deflateStream);
  }

  void PrepareInflate() {
    if (!hasInflate) {
      inflateStream = z_stream();
      if (inflateInit2_(&inflateStream, RawWindowBits, ZlibVersion,
                        static_cast<int>(sizeof(z_stream))) != Z_OK) {
        FailForMemory(__LINE__);
      }
      hasInflate = true;
    }
    inflateReset(&inflateStream);
  }

#ifdef LARKSPAN_HAS_LIBDEFLATE
  // Clears the last block's mark, and aligns the stream to a byte by an empty stored block.
  std::size_t OpenEnd(const char* data, std::size_t size, char* target, std::size_t written) {
    const StreamEnd found = FindEnd(data, size, target, written);
    target[found.lastBlock / 8] =
        static_cast<char>(target[found.lastBlock / 8] & ~(1 << (found.lastBlock % 8)));
    // The three bits of the block's head are 0, and so is what fills the byte; RFC 1951, 3.2.4.
    constexpr std::array<char, 4> NoData = {'\x00', '\x00', '\xff', '\xff'};
    const std::size_t headEnd = (found.end + 3 + 7) / 8;
    for (std::size_t bit = found.end; bit % 8 != 0; ++bit) {
      target[bit / 8] = static_cast<char>(target[bit / 8] & ~(1 << (bit % 8)));
    }
    if (headEnd > written) target[written] = 0;
    std::copy(NoData.begin(), NoData.end(), target + headEnd);
    return headEnd + NoData.size();
  }

  // Inflates block by block, and so proves on the way that the data comes back.
  StreamEnd FindEnd(const char* data, std::size_t size, char* deflated, std::size_t deflatedSize) {
    PrepareInflate();
    inflateStream.next_in = const_cast<Bytef*>(AsBytes(deflated));
    inflateStream.avail_in = static_cast<uInt>(deflatedSize);
    StreamEnd found = {0, 0};
    std::size_t compared = 0;
    for (int result = Z_OK; result != Z_STREAM_END;) {
      std::array<char, 0x8000> plain;
      inflateStream.next_out = reinterpret_cast<Bytef*>(plain.data());
      inflateStream.avail_out = static_cast<uInt>(plain.size());
      result = inflate(&inflateStream, Z_BLOCK);
      const std::size_t count = plain.size() - inflateStream.avail_out;
      const bool goesOn = result == Z_OK || result == Z_STREAM_END;
      if (!goesOn || count > size - compared ||
          std::memcmp(plain.data(), data + compared, count) != 0) {
        FailToDeflate(__LINE__);
      }
      compared += count;
      const auto place = static_cast<unsigned int>(inflateStream.data_type);
      if ((place & BetweenBlocks) == 0) continue;
      // Known here alone: at its end, zlib goes on to the next byte.
      const std::size_t bits = inflateStream.total_in * 8 - (place & 7);
      ((place & InLastBlock) == 0 ? found.lastBlock : found.end) = bits;
    }
    if (compared != size || inflateStream.avail_in != 0) FailToDeflate(__LINE__);
    return found;
  }

  static constexpr unsigned int InLastBlock = 64;
  static constexpr unsigned int BetweenBlocks = 128;

  libdeflate_compressor* compressor = nullptr;
  libdeflate_decompressor* decompressor = nullptr;
#endif
  z_stream deflateStream;
  z_stream inflateStream;
  const Level level;
  bool hasDeflate = false;
  bool hasInflate = false;
};

BlockCodec::BlockCodec(Engine codecEngine, Level codecLevel) noexcept
    : engine(codecEngine), level(codecLevel) {}

BlockCodec::~BlockCodec() = default;

BlockCodec::State& BlockCodec::GetState() {
  if (!state) state.reset(Vx::New<State>(level));
  return *state;
}

std::size_t BlockCodec::GetDeflateBound(std::size_t size) noexcept {
  // Stored blocks of 4 KiB with 5 bytes each, as the worst of both engines; the end of an open
  // block, and what the engines want to have left over.
  return size + (size / 0x1000 + 1) * 5 + 64;
}

std::size_t BlockCodec::Deflate(const char* data, std::size_t size, BlockEnd end, char* target) {
#ifdef LARKSPAN_HAS_LIBDEFLATE
  if (engine == Engine::Libdeflate) return GetState().DeflateByLibdeflate(data, size, end, target);
#endif
  return GetState().DeflateByZlib(data, size, end, target);
}

bool BlockCodec::Inflate(const char* data, std::size_t size, char* plain, std::size_t plainSize) {
#ifdef LARKSPAN_HAS_LIBDEFLATE
  if (engine == Engine::Libdeflate) {
    return GetState().InflateByLibdeflate(data, size, plain, plainSize);
  }
#endif
  return GetState().InflateByZlib(data, size, plain, plainSize);
}

}  // namespace Larkspan::Common::IO::Codec
