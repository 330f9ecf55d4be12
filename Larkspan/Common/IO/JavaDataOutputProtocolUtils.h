#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/OChannelX.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common::IO {

/// Writes a text as Java's `writeUTF` does: the number of encoded bytes as 2 bytes, big-endian,
/// and the text in modified UTF-8.
/// Raises `Vx::DataIntegrityException` for a text of more than 65535 encoded bytes, before
/// anything is written.
LARKSPAN_API void WriteUTF(Vx::OChannelX& channel, const Vx::UniString& text);

}  // namespace Larkspan::Common::IO
