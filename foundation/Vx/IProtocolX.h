#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/Guid.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/UniString.h"

namespace Vx {

/// How values look as bytes, on reading. Every operation reads one value from `channel`, or throws
/// `EndOfInputException` if the input ends within it.
class FOUNDATION_API IProtocolX {
 public:
  /// The parts of the identifier in their order, through the protocol's own integers.
  virtual void Read(IBinaryChannel& channel, Guid& value) const;
  /// The number of 16-bit units as `unsigned int`, and then each as `unsigned short`. The text
  /// changes only when it is complete.
  virtual void Read(IBinaryChannel& channel, UniString& value) const;
  virtual void Read(IBinaryChannel& channel, long double& value) const = 0;
  virtual void Read(IBinaryChannel& channel, double& value) const = 0;
  virtual void Read(IBinaryChannel& channel, float& value) const = 0;
  virtual void Read(IBinaryChannel& channel, UInt64& value) const = 0;
  virtual void Read(IBinaryChannel& channel, Int64& value) const = 0;
  virtual void Read(IBinaryChannel& channel, unsigned long& value) const = 0;
  virtual void Read(IBinaryChannel& channel, long& value) const = 0;
  virtual void Read(IBinaryChannel& channel, unsigned int& value) const = 0;
  virtual void Read(IBinaryChannel& channel, int& value) const = 0;
  virtual void Read(IBinaryChannel& channel, unsigned short& value) const = 0;
  virtual void Read(IBinaryChannel& channel, short& value) const = 0;
  virtual void Read(IBinaryChannel& channel, bool& value) const = 0;
  virtual void Read(IBinaryChannel& channel, unsigned char& value) const = 0;
  virtual void Read(IBinaryChannel& channel, char& value) const = 0;
  virtual ~IProtocolX();

 protected:
  IProtocolX() noexcept = default;
  IProtocolX(const IProtocolX&) noexcept = default;
  IProtocolX& operator=(const IProtocolX&) noexcept = default;
};

}  // namespace Vx
