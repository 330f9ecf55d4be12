#pragma once

#include <string_view>

#include "foundation/IO/Location.h"
#include "foundation/Vx/String.h"
#include "foundation/Vx/UniString.h"

/// Between the 16-bit texts of locations and the bytes of POSIX paths.
///
/// File names on disk are bytes, mostly UTF-8 (RFC 3629). A byte that is not part of valid UTF-8,
/// and U+005C, which separates names in a path text, are shown as the lone surrogate U+DC00 plus
/// the byte. So every name on disk has a text of its own that leads back to it.
namespace IO::Posix {

/// The bytes of one name. Returns an `errno` value: EILSEQ if no name on disk has this text, EINVAL
/// for what is not a name at all, ENOMEM. Never makes a separator, a zero byte, `.` or `..`.
[[nodiscard]] int NameToBytes(Vx::UniString::View name, Vx::String& bytes) noexcept;

/// The bytes of a location's path. Returns an `errno` value: as above, and ENOENT for a location
/// with a drive, which no POSIX system has.
[[nodiscard]] int LocationToBytes(const Location& location, Vx::String& bytes) noexcept;

/// The bytes of a path below some folder, names with U+005C between them. Returns as above.
[[nodiscard]] int RelativePathToBytes(Vx::UniString::View path, Vx::String& bytes) noexcept;

/// The text of a name or of a path whose separators stay U+002F. Throws `Vx::OutOfMemoryException`.
[[nodiscard]] Vx::UniString BytesToText(std::string_view bytes);

}  // namespace IO::Posix
