#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/IChannel.h"
#include "foundation/Vx/IChannelX.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common::IO {

/// Reads a text that `WriteUTF`, or Java's `writeUTF`, wrote.
/// Throws `Vx::EndOfInputException`, "End of input reached.", if the input ends within it, and
/// `Vx::ConversionErrorException` for bytes that are not modified UTF-8, and
/// `Vx::OutOfMemoryException`. `text` is then as it was.
LARKSPAN_API void ReadUTF(Vx::IChannelX& channel, Vx::UniString& text);

/// The same, with the text as result.
[[nodiscard]] LARKSPAN_API Vx::UniString ReadUTF(Vx::IChannelX& channel);

/// The same from a channel that reports by status. Returns 0, or the channel's status, with
/// `Vx::StatusEndOfInput` if the input ends before the length or before the first byte of the text,
/// `Vx::StatusTruncated` if it ends within one of them, and `Vx::StatusReadError` for any
/// `VxException`. `text` is then as it was.
[[nodiscard]] LARKSPAN_API int ReadUTF(Vx::IChannel& channel, Vx::UniString& text);

}  // namespace Larkspan::Common::IO
