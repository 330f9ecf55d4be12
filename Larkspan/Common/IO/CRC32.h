#pragma once

#include <concepts>
#include <cstddef>
#include <span>
#include <string_view>

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
  /// The same for data of any size; none of it has no effect.
  void Update(std::string_view data) noexcept;
  void Update(std::span<const std::byte> data) noexcept {
    Update(std::string_view(reinterpret_cast<const char*>(data.data()), data.size()));
  }
  /// A size that 32 bits may not hold is not truncated.
  template <std::integral Size>
  requires(sizeof(Size) > sizeof(unsigned int)) void Update(const char* data, Size size) noexcept {
    if (data == nullptr) {
      Reset();
    } else {
      Update(std::string_view(data, static_cast<std::size_t>(size)));
    }
  }

  [[nodiscard]] unsigned int GetValue() const noexcept { return value; }

 private:
  unsigned int value = 0;
};

}  // namespace Larkspan::Common::IO
