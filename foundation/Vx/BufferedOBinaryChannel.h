#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/FillableOutput.h"
#include "foundation/Vx/Memory.h"
#include "foundation/Vx/OBinaryChannel.h"
#include "foundation/Vx/WrappedChannel.h"

namespace Vx {

/// Gathers small writes for the channel beneath. A write of at least the buffer's size bypasses the
/// buffer if it is empty. Destruction neither writes nor closes: what was not flushed or closed is
/// dropped.
class FOUNDATION_API BufferedOBinaryChannel final : public OBinaryChannel, public FillableOutput {
 public:
  /// Takes `bufferSize` bytes of memory, 0 for none. The first form shares ownership and throws
  /// `IllegalArgumentException` for an empty reference.
  BufferedOBinaryChannel(const OBinaryChannelRef& target, unsigned int bufferSize);
  BufferedOBinaryChannel(OBinaryChannel& target, unsigned int bufferSize);
  ~BufferedOBinaryChannel() override;

  using OBinaryChannel::Write;
  void Write(const char* data, unsigned int size) override;
  void Flush() override;
  /// Writes out the buffer and closes the channel beneath.
  void Close() override;

  [[nodiscard]] std::span<char> GetRoom(unsigned int size) override;
  void Fill(unsigned int size) noexcept override { gathered += size; }

 private:
  void CheckOpened(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) const;
  void WriteGathered();

  WrappedChannel<OBinaryChannel> wrapped;
  const unsigned int capacity;
  unsigned int gathered = 0;
  ByteArray buffer;
  bool closed = false;
};

}  // namespace Vx
