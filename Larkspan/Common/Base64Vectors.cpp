// Base64 in vector instructions: a block at a time, without a branch but for characters outside the
// alphabet. Each step stands twice, for 16 and for 32 bytes; a 32-byte block is two 16-byte ones
// side by side.

#include "Larkspan/Common/Base64Codec.h"

#if defined(__x86_64__) || defined(__i386__)

#include <bit>
#include <cstdint>
#include <immintrin.h>

namespace Larkspan::Common {
namespace {

struct alignas(16) Table {
  signed char entries[16];
};

// Each triplet abc becomes bacb, so that two of its four values lie in each 16-bit word.
constexpr Table Spread{{1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10}};
// The first and third value of a triplet in their words, and the products that shift them down.
constexpr int EvenValues = 0x0FC0FC00;
constexpr int EvenShifts = 0x04000040;
// The second and fourth, and the products that shift them up into the upper bytes.
constexpr int OddValues = 0x003F03F0;
constexpr int OddShifts = 0x01000010;

// From a value to its character, by class: 0 for a-z, 1 to 10 for a digit each, 11 for +, 12 for /,
// 13 for A-Z.
constexpr Table ToCharacter{{'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                             '0' - 52, '0' - 52, '0' - 52, '0' - 52, '+' - 62, '/' - 63, 'A', 0,
                             0}};

// A character is foreign if the entries for its low and its high half have a bit in common: 1 for
// the row of + and /, 2 for the digits, 4 and 8 for the first and second row of either case, 16 for
// all others.
constexpr Table LowHalf{{0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13, 0x1A,
                         0x1B, 0x1B, 0x1B, 0x1A}};
constexpr Table HighHalf{{0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10, 0x10,
                          0x10, 0x10, 0x10, 0x10}};
// From a character to its value, by the high half; / counts as 1.
constexpr Table ToValue{
    {0, 63 - '/', 62 - '+', 52 - '0', -'A', -'A', 26 - 'a', 26 - 'a', 0, 0, 0, 0, 0, 0, 0, 0}};
// Pairs of values become 12 bits in each word, and pairs of those 24 bits.
constexpr int JoinValues = 0x01400140;
constexpr int JoinPairs = 0x00011000;
// The three bytes of each, high byte first.
constexpr Table Gather{{2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1}};

// How much of a block stands before the first foreign character, in whole quartets.
unsigned int CountGood(std::uint32_t foreign) {
  return static_cast<unsigned int>(std::countr_zero(foreign)) & ~3U;
}

[[gnu::target("ssse3")]] inline __m128i Load(const char* source) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
}

[[gnu::target("ssse3")]] inline __m128i Load(const Table& table) {
  return _mm_load_si128(reinterpret_cast<const __m128i*>(table.entries));
}

[[gnu::target("ssse3")]] inline void Store(char* target, __m128i block) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(target), block);
}

[[gnu::target("ssse3")]] inline __m128i EncodeBlock(__m128i bytes) {
  const __m128i spread = _mm_shuffle_epi8(bytes, Load(Spread));
  const __m128i even = _mm_mulhi_epu16(_mm_and_si128(spread, _mm_set1_epi32(EvenValues)),
                                       _mm_set1_epi32(EvenShifts));
  const __m128i odd =
      _mm_mullo_epi16(_mm_and_si128(spread, _mm_set1_epi32(OddValues)), _mm_set1_epi32(OddShifts));
  const __m128i values = _mm_or_si128(even, odd);
  const __m128i isUpper = _mm_cmpgt_epi8(_mm_set1_epi8(26), values);
  const __m128i classes = _mm_or_si128(_mm_subs_epu8(values, _mm_set1_epi8(51)),
                                       _mm_and_si128(isUpper, _mm_set1_epi8(13)));
  return _mm_add_epi8(values, _mm_shuffle_epi8(Load(ToCharacter), classes));
}

// A bit for each foreign character.
[[gnu::target("ssse3")]] inline std::uint32_t FindForeign(__m128i low, __m128i high) {
  const __m128i common =
      _mm_and_si128(_mm_shuffle_epi8(Load(LowHalf), low), _mm_shuffle_epi8(Load(HighHalf), high));
  const int good = _mm_movemask_epi8(_mm_cmpeq_epi8(common, _mm_setzero_si128()));
  return static_cast<std::uint32_t>(good) ^ 0xFFFFU;
}

// Returns the foreign characters; the bytes that stand for others are right in any case.
[[gnu::target("ssse3")]] inline std::uint32_t DecodeBlock(__m128i text, char* target) {
  const __m128i half = _mm_set1_epi8(0x0F);
  const __m128i high = _mm_and_si128(_mm_srli_epi32(text, 4), half);
  const __m128i isSlash = _mm_cmpeq_epi8(text, _mm_set1_epi8('/'));
  const __m128i offsets = _mm_shuffle_epi8(Load(ToValue), _mm_add_epi8(high, isSlash));
  const __m128i values = _mm_add_epi8(text, offsets);
  const __m128i pairs = _mm_maddubs_epi16(values, _mm_set1_epi32(JoinValues));
  const __m128i triplets = _mm_madd_epi16(pairs, _mm_set1_epi32(JoinPairs));
  Store(target, _mm_shuffle_epi8(triplets, Load(Gather)));
  return FindForeign(_mm_and_si128(text, half), high);
}

[[gnu::target("ssse3")]] std::size_t EncodeSsse3(const char* source, std::size_t size,
                                                 char* target) {
  std::size_t taken = 0;
  // 16 bytes are read for every 12.
  for (; size - taken >= 16; taken += 12, target += 16) {
    Store(target, EncodeBlock(Load(source + taken)));
  }
  return taken;
}

[[gnu::target("ssse3")]] std::size_t DecodeSsse3(const char* source, std::size_t size,
                                                 char* target) {
  std::size_t taken = 0;
  // 16 bytes are written for every 12: the text must have space for one quartet and a bit more.
  for (; size - taken >= 24; taken += 16, target += 12) {
    const std::uint32_t foreign = DecodeBlock(Load(source + taken), target);
    if (foreign != 0) return taken + CountGood(foreign);
  }
  return taken;
}

[[gnu::target("avx2")]] inline __m256i LoadTwice(const Table& table) {
  return _mm256_broadcastsi128_si256(
      _mm_load_si128(reinterpret_cast<const __m128i*>(table.entries)));
}

[[gnu::target("avx2")]] inline __m256i EncodeTwoBlocks(__m256i bytes) {
  const __m256i spread = _mm256_shuffle_epi8(bytes, LoadTwice(Spread));
  const __m256i even = _mm256_mulhi_epu16(_mm256_and_si256(spread, _mm256_set1_epi32(EvenValues)),
                                          _mm256_set1_epi32(EvenShifts));
  const __m256i odd = _mm256_mullo_epi16(_mm256_and_si256(spread, _mm256_set1_epi32(OddValues)),
                                         _mm256_set1_epi32(OddShifts));
  const __m256i values = _mm256_or_si256(even, odd);
  const __m256i isUpper = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), values);
  const __m256i classes = _mm256_or_si256(_mm256_subs_epu8(values, _mm256_set1_epi8(51)),
                                          _mm256_and_si256(isUpper, _mm256_set1_epi8(13)));
  return _mm256_add_epi8(values, _mm256_shuffle_epi8(LoadTwice(ToCharacter), classes));
}

[[gnu::target("avx2")]] inline std::uint32_t FindForeign(__m256i low, __m256i high) {
  const __m256i common = _mm256_and_si256(_mm256_shuffle_epi8(LoadTwice(LowHalf), low),
                                          _mm256_shuffle_epi8(LoadTwice(HighHalf), high));
  const int good = _mm256_movemask_epi8(_mm256_cmpeq_epi8(common, _mm256_setzero_si256()));
  return ~static_cast<std::uint32_t>(good);
}

[[gnu::target("avx2")]] inline std::uint32_t DecodeTwoBlocks(__m256i text, char* target) {
  const __m256i half = _mm256_set1_epi8(0x0F);
  const __m256i high = _mm256_and_si256(_mm256_srli_epi32(text, 4), half);
  const __m256i isSlash = _mm256_cmpeq_epi8(text, _mm256_set1_epi8('/'));
  const __m256i offsets = _mm256_shuffle_epi8(LoadTwice(ToValue), _mm256_add_epi8(high, isSlash));
  const __m256i values = _mm256_add_epi8(text, offsets);
  const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(JoinValues));
  const __m256i triplets = _mm256_madd_epi16(pairs, _mm256_set1_epi32(JoinPairs));
  const __m256i gathered = _mm256_shuffle_epi8(triplets, LoadTwice(Gather));
  const __m256i bytes =
      _mm256_permutevar8x32_epi32(gathered, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), bytes);
  return FindForeign(_mm256_and_si256(text, half), high);
}

[[gnu::target("avx2")]] std::size_t EncodeAvx2(const char* source, std::size_t size, char* target) {
  std::size_t taken = 0;
  // 28 bytes are read for every 24.
  for (; size - taken >= 28; taken += 24, target += 32) {
    const __m256i bytes = _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(source + taken + 12),
                                              reinterpret_cast<const __m128i*>(source + taken));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), EncodeTwoBlocks(bytes));
  }
  return taken;
}

[[gnu::target("avx2")]] std::size_t DecodeAvx2(const char* source, std::size_t size, char* target) {
  std::size_t taken = 0;
  // 32 bytes are written for every 24.
  for (; size - taken >= 44; taken += 32, target += 24) {
    const std::uint32_t foreign = DecodeTwoBlocks(
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(source + taken)), target);
    if (foreign != 0) return taken + CountGood(foreign);
  }
  return taken;
}

constexpr Base64Kernel Kernels[] = {
    {"ssse3", EncodeSsse3, DecodeSsse3},
    {"avx2", EncodeAvx2, DecodeAvx2},
};

std::size_t CountSupported() noexcept {
  if (__builtin_cpu_supports("avx2")) return 2;
  return __builtin_cpu_supports("ssse3") ? 1 : 0;
}

}  // namespace

std::span<const Base64Kernel> GetVectorBase64Kernels() noexcept {
  static const std::size_t count = CountSupported();
  return std::span(Kernels).first(count);
}

}  // namespace Larkspan::Common

#else

namespace Larkspan::Common {

std::span<const Base64Kernel> GetVectorBase64Kernels() noexcept {
  return {};
}

}  // namespace Larkspan::Common

#endif
