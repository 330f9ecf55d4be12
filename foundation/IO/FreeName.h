#pragma once

#include "foundation/Export.h"
#include "foundation/IO/Location.h"
#include "foundation/IO/Name.h"

namespace IO {

/// Gives an item another name in its folder, in one step where the file system can. Never replaces:
/// if the name is taken, `StatusAlreadyExists`, or on any other failure, everything is as it was.
/// Nothing is put on the disk, so that a great many new files cost one flush of their folder, or
/// none. A kill on a file system without such a step can leave a file under both names.
[[nodiscard]] FOUNDATION_API int MoveToFreeName(const Location& location,
                                                const Name& name) noexcept;

}  // namespace IO
