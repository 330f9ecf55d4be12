#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/IO/Location.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common::IO {

/// Where the entry of that name is extracted to: the path below `folder` that the name leads to,
/// without one leading `/`, and with `/` and U+005C as separators.
///
/// Refuses every name that leads out of the folder: with a component `..`, or to a path that does
/// not lie below it. Does not look at the file system; see `CheckWayToEntry` for that.
/// Throws `Vx::IllegalArgumentException` or `Vx::IOException`.
[[nodiscard]] LARKSPAN_API ::IO::Location LocationFromEntryName(const ::IO::Location& folder,
                                                                const Vx::UniString& name);

/// Refuses a path below `folder` that an extraction would reach through a symbolic link, the path
/// itself included: the link could lead anywhere. Creates nothing. Whoever can change the folder
/// meanwhile can still put one there. Throws `Vx::IOException`.
LARKSPAN_API void CheckWayToEntry(const ::IO::Location& folder, const ::IO::Location& location);

}  // namespace Larkspan::Common::IO
