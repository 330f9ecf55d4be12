#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "foundation/Vx/UniString.h"
#include "tests/support/PiecewiseInput.h"

/// What the engine, or the replaying driver, calls with each input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace Fuzz {

/// Ends the process with a report where `holds` is false: that is what the engine looks for.
inline void Require(bool holds, const char* claim) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", claim);
  std::abort();
}

inline std::string_view ToView(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// Takes the first byte off `input`; 0 if there is none.
inline unsigned int TakeByte(std::string_view& input) {
  if (input.empty()) return 0;
  const auto byte = static_cast<unsigned char>(input.front());
  input.remove_prefix(1);
  return byte;
}

/// Each pair of bytes as a unit.
inline Vx::UniString ToUnits(std::string_view bytes) {
  Vx::UniString text;
  while (bytes.size() >= 2) {
    const unsigned int high = TakeByte(bytes);
    text.Append(static_cast<Vx::UniChar>(high << 8U | TakeByte(bytes)));
  }
  return text;
}

}  // namespace Fuzz
