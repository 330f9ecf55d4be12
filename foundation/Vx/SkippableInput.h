#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/IBinaryChannel.h"

namespace Vx {

/// The second face of an input channel that can pass over bytes without reading them.
class FOUNDATION_API SkippableInput {
 public:
  /// The skippable face of `channel`, or null if it has none. It lives as long as the channel.
  [[nodiscard]] static SkippableInput* Find(IBinaryChannel& channel) noexcept;

  /// Whether bytes can be passed over at all: in a file, but not in a pipe.
  [[nodiscard]] virtual bool CanSkip() const noexcept = 0;

  /// Passes over `size` bytes as if they had been read, and gives their number, which is smaller
  /// only at the end of input. Raises what `Read` raises.
  [[nodiscard]] virtual UInt64 Skip(UInt64 size) = 0;

 protected:
  ~SkippableInput() = default;
};

}  // namespace Vx
