#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/IProtocolX.h"
#include "foundation/Vx/PeekableInput.h"

namespace Vx {

/// Reads the data that a `ChunkedOBinarySubChannel` wrote into another channel. Holds no data and
/// takes no memory, whatever lengths the frames claim. Input that stops within the framing throws
/// `EndOfInputException`, "End of input reached."; it is never taken for the end of the data.
class FOUNDATION_API ChunkedIBinarySubChannel final : public IBinaryChannel, public PeekableInput {
 public:
  ChunkedIBinarySubChannel(IBinaryChannel& source, const IProtocolX& form) noexcept;
  ~ChunkedIBinarySubChannel() override;

  using IBinaryChannel::Read;
  /// Never returns bytes of two frames at once.
  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size,
                                  ReadSomeModeSelector mode) override;
  /// What is left of the present frame, as far as it is available beneath. Between two frames it
  /// reads the next length; 0 at the end.
  [[nodiscard]] unsigned __int64 GetAvailable() const override;
  /// Reads on past the terminator and leaves the other channel open there.
  void Close() override;

  [[nodiscard]] unsigned int GetPeekSize() const noexcept override {
    return peekable == nullptr ? 0 : peekable->GetPeekSize();
  }
  [[nodiscard]] std::string_view Peek() override;
  void Advance(unsigned int size) override;

 private:
  void CheckOpened(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) const;
  bool EnterFrame() const;
  unsigned int ReadFrame(char* buffer, unsigned int size);

  IBinaryChannel& channel;
  const IProtocolX& protocol;
  PeekableInput* const peekable;
  // Position in the framing: a cache of lengths that were read, which asking for what is available
  // may fill.
  mutable unsigned int left = 0;
  mutable bool ended = false;
  bool closed = false;
};

}  // namespace Vx
