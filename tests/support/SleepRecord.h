#pragma once

#include <vector>

namespace Tests {

/// While it lives, sleeps take no time and are written down. One at a time.
class SleepRecord final {
 public:
  SleepRecord() { current = this; }
  SleepRecord(const SleepRecord&) = delete;
  SleepRecord& operator=(const SleepRecord&) = delete;
  ~SleepRecord() { current = nullptr; }

  /// Milliseconds of each sleep.
  std::vector<long> sleeps;

  static inline SleepRecord* current = nullptr;
};

}  // namespace Tests
