#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Tests {

/// Puts bytes together field by field, independent of the code under test.
class ByteBuilder final {
 public:
  ByteBuilder& Raw(std::string_view field) {
    bytes += field;
    return *this;
  }
  ByteBuilder& U16(std::uint64_t value) { return Number(value, 2); }
  ByteBuilder& U32(std::uint64_t value) { return Number(value, 4); }
  ByteBuilder& U64(std::uint64_t value) { return Number(value, 8); }
  /// The length in 2 bytes, and the text.
  ByteBuilder& Utf(std::string_view text) { return U16(text.size()).Raw(text); }
  /// Zeros up to `size` bytes in all.
  ByteBuilder& FillTo(std::size_t size) { return Raw(std::string(size - bytes.size(), '\0')); }

  operator const std::string&() const noexcept { return bytes; }
  [[nodiscard]] std::size_t GetSize() const noexcept { return bytes.size(); }

 private:
  ByteBuilder& Number(std::uint64_t value, unsigned int width) {
    for (; width > 0; --width) {
      bytes += static_cast<char>(static_cast<unsigned char>(value >> (8 * (width - 1))));
    }
    return *this;
  }

  std::string bytes;
};

}  // namespace Tests
