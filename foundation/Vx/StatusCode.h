#pragma once

namespace Vx {

/// The status codes of channels: 0 for success, everything else has the highest bit set. They are
/// written as 32-bit patterns and travel as `int`.
[[nodiscard]] constexpr int StatusCode(unsigned int pattern) noexcept {
  return static_cast<int>(pattern);
}

inline constexpr int StatusSuccess = 0;
/// Input ended within a value.
inline constexpr int StatusTruncated = StatusCode(0x81000000U);
/// Input ended before the first byte.
inline constexpr int StatusEndOfInput = StatusCode(0x81000100U);
inline constexpr int StatusReadError = StatusCode(0x81000101U);
inline constexpr int StatusOutputFull = StatusCode(0x81000200U);
inline constexpr int StatusWriteError = StatusCode(0x81000201U);

}  // namespace Vx
