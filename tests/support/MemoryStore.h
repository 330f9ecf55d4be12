#pragma once

#include <algorithm>
#include <string>
#include <utility>

#include "Larkspan/Archive/RandomInput.h"

namespace Tests {

class MemoryStore final : public Larkspan::Archive::RandomInput {
 public:
  explicit MemoryStore(std::string content) : bytes(std::move(content)) {}
  [[nodiscard]] unsigned __int64 GetSize() const noexcept override { return bytes.size(); }
  [[nodiscard]] unsigned int ReadAt(unsigned __int64 offset, char* buffer,
                                    unsigned int size) const override {
    if (offset >= bytes.size()) return 0;
    return static_cast<unsigned int>(bytes.copy(buffer, size, offset));
  }

 private:
  const std::string bytes;
};

}  // namespace Tests
