#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

#include "fuzz/Target.h"

/// Runs the fuzz target that it is linked with on every file below the folder given.
int main(int count, char** arguments) {
  std::size_t replayed = 0;
  for (const auto& file : std::filesystem::directory_iterator(count > 1 ? arguments[1] : ".")) {
    std::ifstream stream(file.path(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    Fuzz::Require(!stream.bad(), "the file can be read");
    // Said before, so that the last line names the input that ended the process.
    std::cout << file.path().filename().string() << std::endl;
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    ++replayed;
  }
  return replayed == 0 ? 2 : 0;
}
