#pragma once

#include <string>

#include <zlib.h>

namespace Tests {

/// One zlib stream, by zlib's own functions.
[[nodiscard]] inline std::string Compress(const std::string& data) {
  std::string compressed(compressBound(data.size()), '\0');
  uLongf size = compressed.size();
  compress(reinterpret_cast<Bytef*>(compressed.data()), &size,
           reinterpret_cast<const Bytef*>(data.data()), data.size());
  compressed.resize(size);
  return compressed;
}

}  // namespace Tests
