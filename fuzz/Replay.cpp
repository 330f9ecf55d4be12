#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "fuzz/Target.h"

namespace {

std::vector<std::filesystem::path> FindFiles(const std::filesystem::path& place) {
  if (!std::filesystem::is_directory(place)) return {place};
  std::vector<std::filesystem::path> files;
  for (const auto& item : std::filesystem::recursive_directory_iterator(place)) {
    if (item.is_regular_file()) files.push_back(item.path());
  }
  return files;
}

void Replay(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot be read: " + file.string());
  const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
  // Said before, so that the last line names the input that ended the process.
  std::cout << file.filename().string() << std::endl;
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

/// Runs the fuzz target that it is linked with on every file given, and on the files below every
/// folder given.
int main(int count, char** arguments) {
  std::size_t replayed = 0;
  try {
    for (int index = 1; index < count; ++index) {
      for (const auto& file : FindFiles(arguments[index])) {
        Replay(file);
        ++replayed;
      }
    }
  } catch (const std::exception& exception) {
    std::cerr << exception.what() << '\n';
    return 1;
  }
  if (replayed == 0) std::cerr << "there was nothing to replay\n";
  return replayed == 0 ? 2 : 0;
}
