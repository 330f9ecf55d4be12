#pragma once

#include "foundation/Export.h"

namespace IO {

/// The processors that this process may use, at least 1.
[[nodiscard]] FOUNDATION_API unsigned int GetProcessorCount() noexcept;

}  // namespace IO
