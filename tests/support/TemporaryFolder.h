#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/IO/Location.h"

namespace Tests {

/// A new folder among the system's temporary ones, removed with all that is in it at the end.
class TemporaryFolder final {
 public:
  /// In `parent` where that is given.
  explicit TemporaryFolder(std::filesystem::path parent = {});
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  [[nodiscard]] const std::filesystem::path& GetPath() const noexcept { return path; }
  [[nodiscard]] IO::Location GetLocation() const { return At(""); }
  /// The place of `name`, a relative path of bytes; an empty one means the folder.
  [[nodiscard]] IO::Location At(std::string_view name) const;

  void Write(std::string_view name, std::string_view content) const;
  /// The content of a file; "(missing)" if there is none.
  [[nodiscard]] std::string Read(std::string_view name) const;
  /// The names in the folder, sorted.
  [[nodiscard]] std::vector<std::string> GetNames() const;

 private:
  std::filesystem::path path;
};

}  // namespace Tests
