#pragma once

#include "foundation/Export.h"

namespace Vx {

class IChannel;
class OChannel;

/// A value that a status channel can carry: it knows how to read and write itself.
class FOUNDATION_API Object {
 public:
  virtual ~Object();

  /// Reads this object from `channel`; returns the channel's status, 0 for success. With any other
  /// status the object is as it was.
  [[nodiscard]] virtual int ReadFrom(IChannel& channel) = 0;

  /// Writes this object to `channel`; returns the channel's status, 0 for success.
  [[nodiscard]] virtual int WriteTo(OChannel& channel) const = 0;

 protected:
  Object() noexcept = default;
  Object(const Object&) noexcept = default;
  Object& operator=(const Object&) noexcept = default;
};

}  // namespace Vx
