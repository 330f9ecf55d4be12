#include "tests/support/TemporaryFolder.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <unistd.h>

#include "foundation/IO/FileSystem.h"

namespace Tests {

TemporaryFolder::TemporaryFolder(std::filesystem::path parent) {
  if (parent.empty()) parent = std::filesystem::temp_directory_path();
  std::string pattern = (parent / "larkspan-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("No temporary folder.");
  path = std::filesystem::canonical(pattern);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path, ignored);
}

IO::Location TemporaryFolder::At(std::string_view name) const {
  IO::Location location;
  const int status = IO::fileSystem.FromNativePath((path / name).string(), location);
  if (status != 0) throw std::runtime_error("No location: " + std::string(name));
  return location;
}

void TemporaryFolder::Write(std::string_view name, std::string_view content) const {
  std::ofstream file(path / name, std::ios::binary);
  file << content;
  if (!file.flush()) throw std::runtime_error("Not written: " + std::string(name));
}

std::string TemporaryFolder::Read(std::string_view name) const {
  std::ifstream file(path / name, std::ios::binary);
  if (!file) return "(missing)";
  return std::string(std::istreambuf_iterator<char>(file), {});
}

std::vector<std::string> TemporaryFolder::GetNames() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace Tests
