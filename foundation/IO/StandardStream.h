#pragma once

#include "foundation/Export.h"

namespace IO {

/// The streams that a process is born with.
enum class StandardStream : int {
  Input = 0,
  Output = 1,
  Error = 2,
};

/// Whether a person sits at the other end of the stream.
[[nodiscard]] FOUNDATION_API bool IsTerminal(StandardStream stream) noexcept;

}  // namespace IO
