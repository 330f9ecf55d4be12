#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/Guid.h"
#include "foundation/Vx/Types.h"

namespace Vx {

class IChannel;
class Object;

/// How values look as bytes, on reading through a channel that reports by status. Every operation
/// returns the status, 0 for success; with any other the value is not to be used.
class FOUNDATION_API IProtocol {
 public:
  virtual ~IProtocol();
  /// The parts of the identifier in their order, through the protocol's own integers.
  [[nodiscard]] virtual int Read(IChannel& channel, Guid& value);
  [[nodiscard]] virtual int Read(IChannel& channel, Object& value) = 0;
  /// A zero-terminated text; the caller provides room for the longest that can come.
  [[nodiscard]] virtual int Read(IChannel& channel, char* value) = 0;
  [[nodiscard]] virtual int Read(IChannel& channel, long double& value) = 0;
  [[nodiscard]] virtual int Read(IChannel& channel, double& value) = 0;
  [[nodiscard]] virtual int Read(IChannel& channel, float& value) = 0;
  [[nodiscard]] virtual int Read(IChannel& channel, UInt64& value) = 0;
  [[nodiscard]] virtual int Read(IChannel& channel, Int64& value) = 0;
  [[nodiscard]] virtual int Read(IChannel& channel, unsigned long& value) = 0;
  [[nodiscard]] virtual int Read(IChannel& channel, long& value) = 0;
  [[nodiscard]] virtual int Read(IChannel& channel, unsigned int& value) = 0;
  [[nodiscard]] virtual int Read(IChannel& channel, int& value) = 0;
  [[nodiscard]] virtual int Read(IChannel& channel, unsigned short& value) = 0;
  [[nodiscard]] virtual int Read(IChannel& channel, short& value) = 0;
  [[nodiscard]] virtual int Read(IChannel& channel, bool& value) = 0;
  [[nodiscard]] virtual int Read(IChannel& channel, unsigned char& value) = 0;
  [[nodiscard]] virtual int Read(IChannel& channel, char& value) = 0;

 protected:
  IProtocol() noexcept = default;
  IProtocol(const IProtocol&) noexcept = default;
  IProtocol& operator=(const IProtocol&) noexcept = default;
};

}  // namespace Vx
