#pragma once

#include "Larkspan/Common/Export.h"

namespace Larkspan::Common::IO {

/// The CRC-32 of ISO 3309 and ITU-T V.42 (polynomial 0x04C11DB7, reflected; the check value of the
/// characters "123456789" is 0xCBF43926) over all data given since the last `Reset`. 0 stands for
/// no data. A value.
class LARKSPAN_API CRC32 {
 public:
  CRC32() noexcept = default;
  CRC32(const CRC32&) noexcept = default;
  CRC32& operator=(const CRC32&) noexcept = default;

  void Reset() noexcept { value = 0; }

  /// Takes in `size` bytes. A null pointer sets the value to 0.
  void Update(const char* data, unsigned int size) noexcept;

  [[nodiscard]] unsigned int GetValue() const noexcept { return value; }

 private:
  unsigned int value = 0;
};

}  // namespace Larkspan::Common::IO
