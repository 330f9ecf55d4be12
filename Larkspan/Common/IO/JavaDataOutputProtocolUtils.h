#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/OChannel.h"
#include "foundation/Vx/OChannelX.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common::IO {

/// The most encoded bytes that a text can have on a channel.
inline constexpr unsigned int MaxUTFSize = 65535;

/// How many bytes `WriteUTF` encodes the text in, without the two that say so.
[[nodiscard]] LARKSPAN_API unsigned int GetUTFSize(const Vx::UniString& text);

/// Writes a text as Java's `writeUTF` does: the number of encoded bytes as 2 bytes, big-endian,
/// and the text in modified UTF-8.
/// Throws `Vx::DataIntegrityException` for a text of more than `MaxUTFSize` encoded bytes, before
/// anything is written, and `Vx::OutOfMemoryException`.
LARKSPAN_API void WriteUTF(Vx::OChannelX& channel, const Vx::UniString& text);

/// The same to a channel that reports by status. Returns the channel's status; nothing follows a
/// length that could not be written. Returns `Vx::StatusWriteError` for a text that is too long,
/// before anything is written, and for any `VxException`.
[[nodiscard]] LARKSPAN_API int WriteUTF(Vx::OChannel& channel, const Vx::UniString& text);

}  // namespace Larkspan::Common::IO
