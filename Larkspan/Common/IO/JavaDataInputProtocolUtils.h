#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/IChannelX.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common::IO {

/// Reads a text that `WriteUTF`, or Java's `writeUTF`, wrote.
/// Raises `Vx::EndOfInputException`, "End of input reached.", if the input ends within it, and
/// `Vx::ConversionErrorException` for bytes that are no modified UTF-8. `text` is then as it was.
LARKSPAN_API void ReadUTF(Vx::IChannelX& channel, Vx::UniString& text);

/// The same, with the text as result.
[[nodiscard]] LARKSPAN_API Vx::UniString ReadUTF(Vx::IChannelX& channel);

}  // namespace Larkspan::Common::IO
