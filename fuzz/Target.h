#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "foundation/Vx/IBinaryChannel.h"

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

/// Reads `input`, at most `piece` bytes a call.
class PiecewiseSource final : public Vx::IBinaryChannel {
 public:
  PiecewiseSource(std::string_view input, std::size_t piece) : rest(input), limit(piece) {}

  using IBinaryChannel::Read;
  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size, ReadSomeModeSelector) override {
    const std::size_t count = rest.copy(buffer, std::min<std::size_t>(size, limit));
    rest.remove_prefix(count);
    return static_cast<unsigned int>(count);
  }
  [[nodiscard]] unsigned __int64 GetAvailable() const override { return rest.size(); }
  void Close() override {}

  [[nodiscard]] std::string_view GetRest() const noexcept { return rest; }

 private:
  std::string_view rest;
  std::size_t limit;
};

/// Appends what `channel` gives to `target`, read in calls of at most `piece` bytes, to its end or
/// until `target` has `most` bytes.
inline void ReadInto(std::string& target, Vx::IBinaryChannel& channel, unsigned int piece,
                     std::size_t most = std::string::npos) {
  char buffer[4096];
  const unsigned int size = std::clamp(piece, 1U, static_cast<unsigned int>(sizeof(buffer)));
  while (target.size() < most) {
    const unsigned int count = channel.Read(buffer, size, Vx::IBinaryChannel::ReadSome);
    Require(count <= size, "a read gives at most what was asked for");
    if (count == 0) return;
    target.append(buffer, count);
  }
}

}  // namespace Fuzz
