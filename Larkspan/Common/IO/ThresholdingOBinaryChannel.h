#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/OBinaryChannel.h"
#include "foundation/Vx/Types.h"

namespace Larkspan::Common::IO {

/// Counts what is written through it to an output channel that a derived class provides, and calls
/// that class once, before the first write that leads past a given number of bytes. Everything
/// throws what the output channel does.
class LARKSPAN_API ThresholdingOBinaryChannel : public Vx::OBinaryChannel {
 public:
  using OBinaryChannel::Write;
  /// Throws `Vx::IOException` if the channel is closed.
  void Write(const char* data, unsigned int size) override;
  /// Throws `Vx::IOException` if the channel is closed.
  void Flush() override;
  /// Closes the output channel, every time. If that fails, this channel does not count as closed.
  void Close() override;
  ~ThresholdingOBinaryChannel() override;

  /// Bytes of all writes that succeeded.
  [[nodiscard]] Vx::UInt64 GetCount() const noexcept { return count; }
  [[nodiscard]] Vx::UInt64 GetThreshold() const noexcept { return threshold; }
  /// Whether the count is above the threshold.
  [[nodiscard]] bool IsThresholdExceeded() const noexcept { return count > threshold; }

 protected:
  /// Throws `Vx::IllegalArgumentException` for a threshold of 0.
  explicit ThresholdingOBinaryChannel(Vx::UInt64 thresholdSize);
  /// Copies threshold, count and state.
  ThresholdingOBinaryChannel(const ThresholdingOBinaryChannel& source) noexcept;
  ThresholdingOBinaryChannel& operator=(const ThresholdingOBinaryChannel& source) noexcept;

  /// Where the bytes go. Asked anew for each operation.
  [[nodiscard]] virtual Vx::OBinaryChannel& GetOutputChannel() = 0;
  [[nodiscard]] virtual Vx::OBinaryChannel& GetOutputChannel() const = 0;

  /// Called when a write is about to lead past the threshold, before any of its bytes is written or
  /// counted. May change what `GetOutputChannel` returns. Called once only, even if it fails; the
  /// write fails with it then.
  virtual void ThresholdReached() = 0;

  /// Throws the failure of a closed channel, with the position given.
  void CheckOpened(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) const;
  /// Calls `ThresholdReached` if `size` more bytes lead past the threshold for the first time.
  void CheckThreshold(Vx::UInt64 size);
  [[nodiscard]] bool IsClosed() const noexcept { return closed; }

 private:
  bool thresholdReached = false;
  Vx::UInt64 threshold;
  Vx::UInt64 count = 0;
  bool closed = false;
};

}  // namespace Larkspan::Common::IO
