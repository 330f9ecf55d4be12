#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Vx {

/// SipHash-1-3 (Aumasson and Bernstein, 2012) over bytes in memory: a keyed hash short enough for
/// table lookups and strong enough that nobody without the key can make values collide.
class SipHash {
 public:
  struct Key {
    std::uint64_t first;
    std::uint64_t second;
  };

  [[nodiscard]] static std::uint64_t Hash(const Key& key, const void* data,
                                          std::size_t size) noexcept {
    SipHash state(key);
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::size_t left = size;
    for (; left >= sizeof(std::uint64_t); left -= sizeof(std::uint64_t)) {
      state.Compress(Load(bytes, sizeof(std::uint64_t)));
      bytes += sizeof(std::uint64_t);
    }
    state.Compress(Load(bytes, left) ^ (static_cast<std::uint64_t>(size) << 56U));
    return state.Finish();
  }

 private:
  explicit SipHash(const Key& key) noexcept
      : v0(key.first ^ 0x736F6D6570736575ULL),
        v1(key.second ^ 0x646F72616E646F6DULL),
        v2(key.first ^ 0x6C7967656E657261ULL),
        v3(key.second ^ 0x7465646279746573ULL) {}

  // Little-endian, as SipHash is defined: the last bytes must not overlap the length.
  static std::uint64_t Load(const unsigned char* bytes, std::size_t count) noexcept {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes, count);
    if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
    return word;
  }

  void Round() noexcept {
    v0 += v1;
    v1 = std::rotl(v1, 13) ^ v0;
    v0 = std::rotl(v0, 32);
    v2 += v3;
    v3 = std::rotl(v3, 16) ^ v2;
    v0 += v3;
    v3 = std::rotl(v3, 21) ^ v0;
    v2 += v1;
    v1 = std::rotl(v1, 17) ^ v2;
    v2 = std::rotl(v2, 32);
  }

  void Compress(std::uint64_t word) noexcept {
    v3 ^= word;
    Round();
    v0 ^= word;
  }

  std::uint64_t Finish() noexcept {
    v2 ^= 0xFFU;
    Round();
    Round();
    Round();
    return v0 ^ v1 ^ v2 ^ v3;
  }

  std::uint64_t v0;
  std::uint64_t v1;
  std::uint64_t v2;
  std::uint64_t v3;
};

}  // namespace Vx
