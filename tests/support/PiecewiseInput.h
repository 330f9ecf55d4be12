#pragma once

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/IOException.h"

namespace Tests {

/// A source that delivers at most `piece` bytes at a time and records the sizes it was asked for.
/// From byte `breakAt` on it fails.
class PiecewiseInput final : public Vx::IBinaryChannel {
 public:
  explicit PiecewiseInput(std::string bytes, std::size_t piece = std::string::npos,
                          std::size_t breakAt = std::string::npos)
      : content(std::move(bytes)), limit(piece), broken(breakAt) {}

  using IBinaryChannel::Read;
  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size, ReadSomeModeSelector) override {
    if (closes > 0) throw Vx::IOException("The source is closed.");
    asked.push_back(size);
    if (position >= broken) throw Vx::IOException("The source is broken.");
    const std::size_t most = std::min({std::size_t{size}, limit, broken - position});
    const std::size_t count = content.copy(buffer, most, position);
    position += count;
    return static_cast<unsigned int>(count);
  }
  [[nodiscard]] unsigned __int64 GetAvailable() const override {
    if (closes > 0) throw Vx::IOException("The source is closed.");
    return content.size() - position;
  }
  void Close() override { ++closes; }

  [[nodiscard]] std::size_t GetPosition() const noexcept { return position; }

  std::vector<unsigned int> asked;
  int closes = 0;

 private:
  const std::string content;
  const std::size_t limit;
  const std::size_t broken;
  std::size_t position = 0;
};

/// Appends what `channel` gives to `target`, read in steps of `step` bytes, to its end or until
/// `target` has at least `most` bytes.
inline void ReadInto(std::string& target, Vx::IBinaryChannel& channel, unsigned int step,
                     std::size_t most = std::string::npos) {
  std::string piece(step, '\0');
  while (target.size() < most) {
    const unsigned int count = channel.Read(piece.data(), step, Vx::IBinaryChannel::ReadSome);
    if (count > step) throw std::logic_error("A read gave more than was asked for.");
    if (count == 0) return;
    target.append(piece, 0, count);
  }
}

/// The same as a value, and not more than `most` bytes.
[[nodiscard]] inline std::string ReadRest(Vx::IBinaryChannel& channel, unsigned int step = 4096,
                                          std::size_t most = std::string::npos) {
  std::string rest;
  ReadInto(rest, channel, step, most);
  return rest.substr(0, most);
}

}  // namespace Tests
