#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/Guid.h"
#include "foundation/Vx/Types.h"

namespace Vx {

class OChannel;
class Object;

/// How values look as bytes, on writing through a channel that reports by status. Every operation
/// returns the status, 0 for success.
class FOUNDATION_API OProtocol {
 public:
  virtual ~OProtocol();
  /// The parts of the identifier in their order, through the protocol's own integers.
  [[nodiscard]] virtual int Write(OChannel& channel, const Guid& value);
  [[nodiscard]] virtual int Write(OChannel& channel, const Object& value) = 0;
  /// A zero-terminated text.
  [[nodiscard]] virtual int Write(OChannel& channel, const char* value) = 0;
  [[nodiscard]] virtual int Write(OChannel& channel, const void* value) = 0;
  /// Not as a pointer without meaning, which it would else be: make a `UniString` of it.
  int Write(OChannel& channel, const UniChar* value) = delete;
  [[nodiscard]] virtual int Write(OChannel& channel, long double value) = 0;
  [[nodiscard]] virtual int Write(OChannel& channel, double value) = 0;
  [[nodiscard]] virtual int Write(OChannel& channel, float value) = 0;
  [[nodiscard]] virtual int Write(OChannel& channel, UInt64 value) = 0;
  [[nodiscard]] virtual int Write(OChannel& channel, Int64 value) = 0;
  [[nodiscard]] virtual int Write(OChannel& channel, unsigned long value) = 0;
  [[nodiscard]] virtual int Write(OChannel& channel, long value) = 0;
  [[nodiscard]] virtual int Write(OChannel& channel, unsigned int value) = 0;
  [[nodiscard]] virtual int Write(OChannel& channel, int value) = 0;
  [[nodiscard]] virtual int Write(OChannel& channel, unsigned short value) = 0;
  [[nodiscard]] virtual int Write(OChannel& channel, short value) = 0;
  [[nodiscard]] virtual int Write(OChannel& channel, bool value) = 0;
  [[nodiscard]] virtual int Write(OChannel& channel, unsigned char value) = 0;
  [[nodiscard]] virtual int Write(OChannel& channel, char value) = 0;
  /// A remark for protocols that people read; others drop it.
  virtual void Note(OChannel& channel, unsigned int category, unsigned int level,
                    const char* text) = 0;

 protected:
  OProtocol() noexcept = default;
  OProtocol(const OProtocol&) noexcept = default;
  OProtocol& operator=(const OProtocol&) noexcept = default;
};

}  // namespace Vx
