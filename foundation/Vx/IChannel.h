#pragma once

#include <type_traits>

#include "foundation/Export.h"
#include "foundation/Vx/IProtocol.h"
#include "foundation/Vx/Object.h"
#include "foundation/Vx/StatusCode.h"

namespace Vx {

/// A source of bytes that reports by status, with the protocol in which values are read from it.
class FOUNDATION_API IChannel {
 public:
  IChannel(const IChannel&) = delete;
  IChannel& operator=(const IChannel&) = delete;
  virtual ~IChannel();

  /// Reads `count` bytes. Returns 0 if all came, `StatusEndOfInput` if the input ended before that,
  /// or another status; `delivered`, which may be null, tells how many came in every case.
  [[nodiscard]] virtual int ReadBin(char* target, unsigned int count, unsigned int* delivered) = 0;

  /// Reads a value through the protocol.
  template <class T>
  requires(!std::is_base_of_v<Object, T>) [[nodiscard]] int Read(T& value) {
    return protocol.Read(*this, value);
  }
  /// Lets the object read itself.
  [[nodiscard]] int Read(Object& value) { return value.ReadFrom(*this); }

  [[nodiscard]] IProtocol& GetProtocol() noexcept { return protocol; }

 protected:
  explicit IChannel(IProtocol& form) noexcept : protocol(form) {}

 private:
  IProtocol& protocol;
};

}  // namespace Vx
