#pragma once

#include <string_view>

#include "foundation/Export.h"
#include "foundation/Vx/IBinaryChannel.h"

namespace Vx {

/// The second interface of an input channel whose bytes lie in memory before they are read: a
/// filter can work on them where they lie. Looking at bytes and taking them is the same as reading
/// them.
class FOUNDATION_API PeekableInput {
 public:
  /// The peekable interface of `channel`, or null if it has none. It lives as long as the channel.
  [[nodiscard]] static PeekableInput* Find(IBinaryChannel& channel) noexcept;

  /// How many bytes the channel holds in memory at the most; 0 if it can't be peeked into. A filter
  /// says what the channel beneath it says.
  [[nodiscard]] virtual unsigned int GetPeekSize() const noexcept = 0;

  /// The next bytes, at least one; empty at the end of input. They stay where they are until the
  /// channel is read, peeked into again, closed or destroyed. Throws what `Read` throws.
  [[nodiscard]] virtual std::string_view Peek() = 0;

  /// Takes the first `size` of the bytes that `Peek` returned last, as a `Read` would.
  virtual void Advance(unsigned int size) = 0;

 protected:
  ~PeekableInput() = default;
};

}  // namespace Vx
