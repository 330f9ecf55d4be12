#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "foundation/Vx/IOException.h"
#include "foundation/Vx/OBinaryChannel.h"

namespace Tests {

/// A sink that keeps the bytes and a record of the calls. It has room for `room` bytes: the write
/// that exceeds it takes those and fails. After `Close` it takes nothing more.
class RecordingOutput final : public Vx::OBinaryChannel {
 public:
  explicit RecordingOutput(std::size_t bytes = std::string::npos) : room(bytes) {}

  void Write(const char* data, unsigned int size) override {
    Record("Write " + std::to_string(size));
    const std::size_t taken = std::min<std::size_t>(size, room - content.size());
    content.append(data, taken);
    if (taken < size) throw Vx::IOException("No room.");
  }
  void Flush() override { Record("Flush"); }
  void Close() override { calls.emplace_back("Close"); }

  [[nodiscard]] std::size_t Count(const std::string& call) const {
    return static_cast<std::size_t>(std::count(calls.begin(), calls.end(), call));
  }

  std::string content;
  std::vector<std::string> calls;

 private:
  void Record(const std::string& call) {
    if (Count("Close") > 0) throw Vx::IOException("The sink is closed.");
    calls.push_back(call);
  }

  std::size_t room;
};

}  // namespace Tests
