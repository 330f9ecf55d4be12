#include "tools/larkspan/FileKind.h"

#include <cstddef>

namespace Tool {

std::string_view FindFileKind(std::string_view beginning) noexcept {
  using namespace std::string_view_literals;
  struct Row {
    std::string_view bytes;
    std::size_t offset;
    std::string_view kind;
  };
  constexpr Row rows[] = {
      {"PK\x03\x04"sv, 0, "a zip archive"},
      {"PK\x05\x06"sv, 0, "a zip archive"},  // with nothing in it
      {"\x1f\x8b"sv, 0, "a gzip file"},
      {"ustar"sv, 257, "a tar archive"},
      {"\xfd"
       "7zXZ\0"sv,
       0, "an xz file"},
      {"\x28\xb5\x2f\xfd"sv, 0, "a zstd file"},
      {"BZh"sv, 0, "a bzip2 file"},
      {"7z\xbc\xaf\x27\x1c"sv, 0, "a 7z archive"},
  };
  if (beginning.empty()) return "empty";
  for (const Row& row : rows) {
    if (beginning.size() <= row.offset) continue;
    if (beginning.substr(row.offset).starts_with(row.bytes)) return row.kind;
  }
  return {};
}

}  // namespace Tool
