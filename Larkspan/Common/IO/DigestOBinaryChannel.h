#pragma once

#include "foundation/Vx/OBinaryChannel.h"
#include "foundation/Vx/WrappedChannel.h"

namespace Larkspan::Common::IO {

/// Base of pass-through filters that compute a digest of the output. `Digest`
/// has `Update(data, size)`, `GetValue()` and `Reset()`; it sees only what the wrapped channel has
/// taken without a failure.
///
/// Adds no buffer and no closed state. `Close` closes the wrapped channel; destruction does not.
template <class Digest>
class DigestOBinaryChannel : public Vx::OBinaryChannel {
 public:
  using OBinaryChannel::Write;
  void Write(const char* data, unsigned int size) override {
    GetOutputChannel().Write(data, size);
    if (size != 0) digest.Update(data, size);
  }
  void Flush() override { GetOutputChannel().Flush(); }
  void Close() override { GetOutputChannel().Close(); }

 protected:
  explicit DigestOBinaryChannel(Vx::OBinaryChannel& channel) noexcept : wrapped(channel) {}
  explicit DigestOBinaryChannel(const Vx::OBinaryChannelRef& channel)
      : wrapped(channel, "Invalid binary output channel: channel is null.", __FILE__, __LINE__) {}

  [[nodiscard]] const Digest& GetDigest() const noexcept { return digest; }
  void ResetDigest() noexcept { digest.Reset(); }

 private:
  [[nodiscard]] Vx::OBinaryChannel& GetOutputChannel() noexcept { return wrapped.Get(); }
  [[nodiscard]] const Vx::OBinaryChannel& GetOutputChannel() const noexcept {
    return wrapped.Get();
  }

  Vx::WrappedChannel<Vx::OBinaryChannel> wrapped;
  Digest digest;
};

}  // namespace Larkspan::Common::IO
