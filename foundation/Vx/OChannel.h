#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/OProtocol.h"
#include "foundation/Vx/Object.h"
#include "foundation/Vx/ProtocolValue.h"
#include "foundation/Vx/StatusCode.h"
#include "foundation/Vx/Types.h"

namespace Vx {

/// A sink of bytes that reports by status, with the protocol in which values are written to it.
class FOUNDATION_API OChannel {
 public:
  OChannel(const OChannel&) = delete;
  OChannel& operator=(const OChannel&) = delete;
  virtual ~OChannel();

  /// Writes `count` bytes and returns the status. `written`, which may be null, tells how many were
  /// taken.
  [[nodiscard]] virtual int WriteBin(const char* source, unsigned int count,
                                     unsigned int* written) = 0;

  /// Writes a value through the protocol.
  template <PrimitiveValue T>
  [[nodiscard]] int Write(const T& value) {
    return protocol.Write(*this, value);
  }
  [[nodiscard]] int Write(const char* text) { return protocol.Write(*this, text); }
  /// Not as a pointer without meaning, which it would else be: make a `UniString` of it.
  int Write(const UniChar* text) = delete;
  [[nodiscard]] int Write(const void* pointer) { return protocol.Write(*this, pointer); }
  /// Lets the object write itself. A `UniString` does so as the number of its 16-bit units and each
  /// of them; in the protocol's own form for texts it goes through `GetProtocol().Write`.
  [[nodiscard]] int Write(const Object& value) { return value.WriteTo(*this); }

  [[nodiscard]] OProtocol& GetProtocol() noexcept { return protocol; }

 protected:
  explicit OChannel(OProtocol& form) noexcept : protocol(form) {}

 private:
  OProtocol& protocol;
};

}  // namespace Vx
