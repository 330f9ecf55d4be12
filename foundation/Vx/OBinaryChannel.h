#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/AtomicCounter.h"
#include "foundation/Vx/Ref.h"

namespace Vx {

/// A sink of bytes. Sizes are in bytes; failures are `IOException` or below.
class FOUNDATION_API OBinaryChannel {
 public:
  OBinaryChannel(const OBinaryChannel&) = delete;
  OBinaryChannel& operator=(const OBinaryChannel&) = delete;

  /// Takes all `size` bytes or fails; how many were taken by then is not told.
  virtual void Write(const char* data, unsigned int size) = 0;

  /// Passes on what the channel holds back, and flushes what lies beneath.
  virtual void Flush() = 0;

  /// Completes the output and closes what lies beneath.
  virtual void Close() = 0;

  virtual ~OBinaryChannel();

 protected:
  OBinaryChannel() noexcept = default;
};

using OBinaryChannelRef = Ref<OBinaryChannel, AtomicCounter>;

}  // namespace Vx
