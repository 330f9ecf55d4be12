#pragma once

#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/OBinaryChannel.h"

namespace Larkspan::Common::IO {

/// Writes all that can be read from `source` to `target`, in steps of at most `stepSize` bytes,
/// for which it takes memory. Closes and flushes nothing.
void CopyChannel(Vx::IBinaryChannel& source, Vx::OBinaryChannel& target, unsigned int stepSize);

}  // namespace Larkspan::Common::IO
