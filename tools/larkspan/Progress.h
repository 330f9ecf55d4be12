#pragma once

#include <chrono>

#include "foundation/Vx/Types.h"

namespace Tool {

/// One line on the standard error, for work that takes longer than a second.
class Progress final {
 public:
  explicit Progress(bool wanted) noexcept;
  /// Whether the standard error is a terminal that obeys cursor movements and colours.
  [[nodiscard]] static bool IsScreen() noexcept;
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { Clear(); }

  /// More of the work is done: bytes, and files or entries.
  void Advance(unsigned int bytes) {
    byteCount += bytes;
    if (enabled) ShowIfDue();
  }
  void AdvanceItem() noexcept { ++itemCount; }

  /// Takes the line away until the next one is due.
  void Clear() noexcept;
  /// Nothing is shown from now on.
  void Disable() noexcept;

 private:
  using Clock = std::chrono::steady_clock;

  void ShowIfDue();

  bool enabled;
  bool shown = false;
  Clock::time_point nextTime;
  unsigned __int64 byteCount = 0;
  unsigned __int64 itemCount = 0;
};

}  // namespace Tool
