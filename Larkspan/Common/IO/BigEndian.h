#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "foundation/Vx/ProtocolValue.h"
#include "foundation/Vx/Types.h"

/// How primitive values look as bytes: big-endian, with the widths and the NaN rule of Java's data
/// streams. Everything that knows of byte order is here.
namespace Larkspan::Common::IO::BigEndian {

/// The types of these values.
template <class T>
concept Value = Vx::PrimitiveValue<T> && !std::same_as<T, Vx::Guid>;

static_assert(std::numeric_limits<float>::is_iec559 && sizeof(float) == 4, "IEEE 754 binary32");
static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == 8, "IEEE 754 binary64");

template <std::size_t Width>
struct PatternOf;
template <>
struct PatternOf<1> {
  using Type = std::uint8_t;
};
template <>
struct PatternOf<2> {
  using Type = std::uint16_t;
};
template <>
struct PatternOf<4> {
  using Type = std::uint32_t;
};
template <>
struct PatternOf<8> {
  using Type = std::uint64_t;
};

/// Bytes that a `T` takes on a channel. `long` takes 4 on every platform, `long double` 8.
template <class T>
inline constexpr std::size_t Width = sizeof(T);
template <>
inline constexpr std::size_t Width<bool> = 1;
template <>
inline constexpr std::size_t Width<long> = 4;
template <>
inline constexpr std::size_t Width<unsigned long> = 4;
template <>
inline constexpr std::size_t Width<long double> = 8;

template <class T>
using Bytes = std::array<char, Width<T>>;

/// The bits of `value` in the width that it has on a channel.
template <class T>
[[nodiscard]] constexpr auto ToPattern(T value) noexcept {
  using Pattern = typename PatternOf<Width<T>>::Type;
  if constexpr (std::is_same_v<T, bool>) {
    // By its byte, which may hold more than 0 and 1 where a caller read it from somewhere. This is
    // best effort: a compiler may assume that it can't.
    return static_cast<Pattern>(std::bit_cast<unsigned char>(value) != 0 ? 1 : 0);
  } else if constexpr (std::is_same_v<T, float>) {
    return std::isnan(value) ? Pattern{0x7FC00000U} : std::bit_cast<Pattern>(value);
  } else if constexpr (std::is_floating_point_v<T>) {
    const auto number = static_cast<double>(value);
    return std::isnan(number) ? Pattern{0x7FF8000000000000U} : std::bit_cast<Pattern>(number);
  } else {
    return static_cast<Pattern>(value);
  }
}

/// The value that `pattern` stands for. Of a `bool` only the pattern 1 is true; a `long` is
/// sign-extended to the platform's width, an `unsigned long` zero-extended.
template <class T>
[[nodiscard]] constexpr T FromPattern(typename PatternOf<Width<T>>::Type pattern) noexcept {
  if constexpr (std::is_same_v<T, bool>) {
    return pattern == 1;
  } else if constexpr (std::is_same_v<T, float>) {
    return std::bit_cast<float>(pattern);
  } else if constexpr (std::is_floating_point_v<T>) {
    return static_cast<T>(std::bit_cast<double>(pattern));
  } else if constexpr (std::is_signed_v<T>) {
    return static_cast<T>(static_cast<std::make_signed_t<decltype(pattern)>>(pattern));
  } else {
    return static_cast<T>(pattern);
  }
}

/// `pattern` in the byte order of memory, from big-endian or to it. Written out, since compilers
/// find their instruction for it in this form, and not in a loop.
template <std::unsigned_integral Pattern>
[[nodiscard]] constexpr Pattern Swap(Pattern pattern) noexcept {
  if constexpr (std::endian::native == std::endian::big || sizeof(Pattern) == 1) {
    return pattern;
  } else if constexpr (sizeof(Pattern) == 2) {
    return static_cast<Pattern>((pattern << 8U) | (pattern >> 8U));
  } else if constexpr (sizeof(Pattern) == 4) {
    return (pattern << 24U) | ((pattern & 0xFF00U) << 8U) | ((pattern >> 8U) & 0xFF00U) |
           (pattern >> 24U);
  } else {
    const Pattern high = Swap(static_cast<std::uint32_t>(pattern));
    return (high << 32U) | Swap(static_cast<std::uint32_t>(pattern >> 32U));
  }
}

/// The bytes of `value`, most significant first.
template <class T>
[[nodiscard]] constexpr Bytes<T> Encode(T value) noexcept {
  return std::bit_cast<Bytes<T>>(Swap(ToPattern(value)));
}

template <class T>
[[nodiscard]] constexpr T Decode(Bytes<T> bytes) noexcept {
  return FromPattern<T>(Swap(std::bit_cast<typename PatternOf<Width<T>>::Type>(bytes)));
}

}  // namespace Larkspan::Common::IO::BigEndian
