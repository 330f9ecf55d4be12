#pragma once

#include <filesystem>

#include "Larkspan/Common/Export.h"
#include "foundation/IO/Location.h"

/// Between this library and the standard one.
namespace Larkspan::Interop {

/// The location of a path as the platform writes it, with any names that it can have; a relative
/// one counts from the current folder. `.` and `..` are resolved in the text, links are not
/// followed. Throws `Vx::IllegalArgumentException` for an empty path and for one that leads above
/// the root, and `Vx::OutOfMemoryException`.
[[nodiscard]] LARKSPAN_API ::IO::Location ToLocation(const std::filesystem::path& path);

/// The inverse; empty for an empty location. Throws `Vx::IllegalArgumentException` for a location
/// that is not valid, or not a path of this platform, and `Vx::OutOfMemoryException`.
[[nodiscard]] LARKSPAN_API std::filesystem::path ToPath(const ::IO::Location& location);

}  // namespace Larkspan::Interop
