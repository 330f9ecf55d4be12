#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/Memory.h"
#include "foundation/Vx/PeekableInput.h"
#include "foundation/Vx/WrappedChannel.h"

namespace Vx {

/// Reads ahead from the channel beneath, so that small reads cost it few calls. A read of at least
/// the buffer's size bypasses the buffer if it is empty. Destruction does not close.
class FOUNDATION_API BufferedIBinaryChannel final : public IBinaryChannel, public PeekableInput {
 public:
  /// Takes `bufferSize` bytes of memory, 0 for none. The first form shares ownership and throws
  /// `IllegalArgumentException` for an empty reference.
  BufferedIBinaryChannel(const IBinaryChannelRef& source, unsigned int bufferSize);
  BufferedIBinaryChannel(IBinaryChannel& source, unsigned int bufferSize);
  ~BufferedIBinaryChannel() override;

  using IBinaryChannel::Read;
  [[nodiscard]] unsigned int Read(char* target, unsigned int size,
                                  ReadSomeModeSelector mode) override;
  [[nodiscard]] unsigned int Read(char* target, unsigned int size,
                                  ReadAllModeSelector mode) override;
  /// What is in the buffer and what is available beneath.
  [[nodiscard]] UInt64 GetAvailable() const override;
  /// Drops what was read ahead and closes the channel beneath.
  void Close() override;

  [[nodiscard]] unsigned int GetPeekSize() const noexcept override { return capacity; }
  [[nodiscard]] std::string_view Peek() override;
  void Advance(unsigned int size) override { position += size; }

 private:
  void CheckOpened(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) const;
  void FillUsedUpBuffer();

  WrappedChannel<IBinaryChannel> wrapped;
  const unsigned int capacity;
  unsigned int position = 0;
  unsigned int filled = 0;
  ByteArray buffer;
  bool closed = false;
};

}  // namespace Vx
