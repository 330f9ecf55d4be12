#pragma once

#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/PeekableInput.h"
#include "foundation/Vx/WrappedChannel.h"

namespace Larkspan::Common::IO {

/// Base of pass-through filters that compute a digest of the input. `Digest` has
/// `Update(data, size)`, `GetValue()` and `Reset()`.
///
/// Adds no buffer and no closed state. `Close` closes the wrapped channel; destruction does not.
template <class Digest>
class DigestIBinaryChannel : public Vx::IBinaryChannel, public Vx::PeekableInput {
 public:
  using IBinaryChannel::Read;
  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size,
                                  ReadSomeModeSelector mode) override {
    const unsigned int count = GetInputChannel().Read(buffer, size, mode);
    if (count != 0) digest.Update(buffer, count);
    return count;
  }
  [[nodiscard]] Vx::UInt64 GetAvailable() const override {
    return GetInputChannel().GetAvailable();
  }
  void Close() override { GetInputChannel().Close(); }

  [[nodiscard]] unsigned int GetPeekSize() const noexcept override {
    return peekable == nullptr ? 0 : peekable->GetPeekSize();
  }
  [[nodiscard]] std::string_view Peek() override { return peeked = peekable->Peek(); }
  void Advance(unsigned int size) override {
    digest.Update(peeked.data(), size);
    peekable->Advance(size);
    peeked.remove_prefix(size);
  }

 protected:
  explicit DigestIBinaryChannel(Vx::IBinaryChannel& channel) noexcept
      : wrapped(channel), peekable(PeekableInput::Find(channel)) {}
  explicit DigestIBinaryChannel(const Vx::IBinaryChannelRef& channel)
      : wrapped(channel, "Invalid binary input channel: channel is null.", __FILE__, __LINE__),
        peekable(PeekableInput::Find(wrapped.Get())) {}

  [[nodiscard]] const Digest& GetDigest() const noexcept { return digest; }
  void ResetDigest() noexcept { digest.Reset(); }

 private:
  [[nodiscard]] Vx::IBinaryChannel& GetInputChannel() noexcept { return wrapped.Get(); }
  [[nodiscard]] const Vx::IBinaryChannel& GetInputChannel() const noexcept { return wrapped.Get(); }

  Vx::WrappedChannel<Vx::IBinaryChannel> wrapped;
  Digest digest;
  PeekableInput* const peekable;
  std::string_view peeked;
};

}  // namespace Larkspan::Common::IO
