#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/Guid.h"
#include "foundation/Vx/OBinaryChannel.h"
#include "foundation/Vx/UniString.h"

namespace Vx {

/// How values look as bytes, on writing. Every operation writes one value to `channel`.
class FOUNDATION_API OProtocolX {
 public:
  /// The parts of the identifier in their order, through the protocol's own integers.
  virtual void Write(OBinaryChannel& channel, const Guid& value) const;
  /// The number of 16-bit units as `unsigned int`, and then each as `unsigned short`.
  virtual void Write(OBinaryChannel& channel, const UniString& value) const;
  virtual void Write(OBinaryChannel& channel, long double value) const = 0;
  virtual void Write(OBinaryChannel& channel, double value) const = 0;
  virtual void Write(OBinaryChannel& channel, float value) const = 0;
  virtual void Write(OBinaryChannel& channel, UInt64 value) const = 0;
  virtual void Write(OBinaryChannel& channel, Int64 value) const = 0;
  virtual void Write(OBinaryChannel& channel, unsigned long value) const = 0;
  virtual void Write(OBinaryChannel& channel, long value) const = 0;
  virtual void Write(OBinaryChannel& channel, unsigned int value) const = 0;
  virtual void Write(OBinaryChannel& channel, int value) const = 0;
  virtual void Write(OBinaryChannel& channel, unsigned short value) const = 0;
  virtual void Write(OBinaryChannel& channel, short value) const = 0;
  virtual void Write(OBinaryChannel& channel, bool value) const = 0;
  virtual void Write(OBinaryChannel& channel, unsigned char value) const = 0;
  virtual void Write(OBinaryChannel& channel, char value) const = 0;
  virtual ~OProtocolX();

 protected:
  OProtocolX() noexcept = default;
  OProtocolX(const OProtocolX&) noexcept = default;
  OProtocolX& operator=(const OProtocolX&) noexcept = default;
};

}  // namespace Vx
