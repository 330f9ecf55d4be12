#pragma once

#include <cstddef>
#include <cstdlib>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace Tests {

/// Random numbers that differ from run to run. While it lives, every failure shows the seed; with
/// the environment variable LARKSPAN_TEST_SEED set to it, the same numbers come again.
class SeededRandom final {
 public:
  using result_type = std::mt19937::result_type;

  explicit SeededRandom(const char* file = __builtin_FILE(), int line = __builtin_LINE())
      : trace(file, line, "LARKSPAN_TEST_SEED=" + std::to_string(seed)) {}
  SeededRandom& operator=(SeededRandom&&) = delete;

  result_type operator()() { return engine(); }
  static constexpr result_type min() { return std::mt19937::min(); }
  static constexpr result_type max() { return std::mt19937::max(); }
  /// A number from 0 to `end` - 1.
  unsigned int Below(std::size_t end) { return static_cast<unsigned int>(engine() % end); }
  /// True once in `cases` draws.
  bool OneIn(unsigned int cases) { return Below(cases) == 0; }

 private:
  static unsigned int ChooseSeed() {
    const char* const given = std::getenv("LARKSPAN_TEST_SEED");
    return given == nullptr ? std::random_device()()
                            : static_cast<unsigned int>(std::strtoul(given, nullptr, 10));
  }

  const unsigned int seed = ChooseSeed();
  std::mt19937 engine{seed};
  testing::ScopedTrace trace;
};

}  // namespace Tests
