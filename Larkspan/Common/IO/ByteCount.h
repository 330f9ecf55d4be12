#pragma once

#include "foundation/Vx/Types.h"

namespace Larkspan::Common::IO {

/// Counts bytes; has the shape of `CRC32`, so that one filter serves for both.
class ByteCount {
 public:
  void Reset() noexcept { value = 0; }
  void Update(const char*, unsigned int size) noexcept { value += size; }
  [[nodiscard]] Vx::UInt64 GetValue() const noexcept { return value; }

 private:
  Vx::UInt64 value = 0;
};

}  // namespace Larkspan::Common::IO
