#pragma once

#include <random>
#include <string>

namespace Tests {

/// `size` bytes that don't compress, the same for the same seed.
[[nodiscard]] inline std::string Noise(std::size_t size, unsigned int seed = 1) {
  std::mt19937 generator(seed);
  std::string noise(size, '\0');
  for (char& byte : noise) byte = static_cast<char>(static_cast<unsigned char>(generator()));
  return noise;
}

}  // namespace Tests
