#pragma once

namespace Vx {

/// A 128-bit identifier (RFC 4122) in its customary four parts.
struct Guid {
  unsigned int data1 = 0;
  unsigned short data2 = 0;
  unsigned short data3 = 0;
  unsigned char data4[8] = {};

  friend bool operator==(const Guid&, const Guid&) noexcept = default;
};

}  // namespace Vx
