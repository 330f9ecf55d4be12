#pragma once

#include <chrono>
#include <string>

#include "foundation/Vx/Types.h"
#include "foundation/Vx/UniString.h"

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

  /// Items follow that weigh so much together, so that a share and the time left can be told.
  /// Without it, or with 0, there are bytes and a rate.
  void BeginAll(unsigned __int64 weight) noexcept;
  /// The next file or entry, with its name. Its weight counts as done in the
  /// proportion in which its `size` bytes are.
  void BeginItem(Vx::UniString::View name, unsigned __int64 weight, unsigned __int64 size);
  /// More bytes of the item are done.
  void Advance(unsigned int bytes) {
    byteCount += bytes;
    itemBytes += bytes;
    if (enabled) ShowIfDue();
  }

  /// Takes the line away until the next one is due.
  void Clear() noexcept;
  /// Nothing is shown from now on.
  void Disable() noexcept;

 private:
  using Clock = std::chrono::steady_clock;

  void ShowIfDue();
  [[nodiscard]] double GetShare() const noexcept;
  [[nodiscard]] std::string Describe(double seconds) const;

  bool enabled;
  bool shown = false;
  Clock::time_point start;
  Clock::time_point nextTime;
  unsigned __int64 total = 0;
  unsigned __int64 done = 0;  // of the total, without the item
  unsigned __int64 byteCount = 0;
  unsigned __int64 itemCount = 0;
  std::string itemName;  // ready to be printed
  unsigned __int64 itemWeight = 0;
  unsigned __int64 itemSize = 0;
  unsigned __int64 itemBytes = 0;
};

}  // namespace Tool
