#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/IProtocolX.h"
#include "foundation/Vx/PeekableInput.h"
#include "foundation/Vx/SkippableInput.h"

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
  [[nodiscard]] UInt64 GetAvailable() const override;
  /// Reads on past the terminator and leaves the other channel open there.
  void Close() override;

  [[nodiscard]] unsigned int GetPeekSize() const noexcept override {
    return peekable == nullptr ? 0 : peekable->GetPeekSize();
  }
  [[nodiscard]] std::string_view Peek() override;
  void Advance(unsigned int size) override;

  /// Goes on to behind the ending frame without looking at what is left of the data, by the lengths
  /// of the frames, also after `Read` has failed. False if the end of the data can't be found: the
  /// input ends before it, or a read that failed has left the place in the framing unknown. Raises
  /// other failures of the other channel. Linear in the number of frames if that can skip.
  [[nodiscard]] bool SkipRest();
  /// Bytes of data, without the framing, that were read or passed over.
  [[nodiscard]] UInt64 GetPassedSize() const noexcept { return passed; }

 private:
  void CheckOpened(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) const;
  bool EnterFrame() const;
  unsigned int ReadFrame(char* buffer, unsigned int size);
  bool SkipFrame();

  IBinaryChannel& channel;
  const IProtocolX& protocol;
  PeekableInput* const peekable;
  // Position in the framing: a cache of lengths that were read, which asking for what is available
  // may fill.
  mutable unsigned int left = 0;
  mutable bool ended = false;
  // Set while the other channel is read, and so for good if that fails.
  mutable bool lost = false;
  UInt64 passed = 0;
  bool closed = false;
};

}  // namespace Vx
