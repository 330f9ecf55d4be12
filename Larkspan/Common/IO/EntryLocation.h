#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/IO/Location.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common::IO {

/// Where the entry of that name is extracted to: the path below `folder` that the name leads to,
/// without one leading `/`, and with `/` and U+005C as separators.
///
/// Refuses every name that leads out of the folder: with a component `..`, or to a path that does
/// not lie below it. Does not look at the file system: enter the folder through `IO::FolderTree`.
/// Throws `Vx::IllegalArgumentException` or `Vx::IOException`.
[[nodiscard]] LARKSPAN_API ::IO::Location LocationFromEntryName(const ::IO::Location& folder,
                                                                const Vx::UniString& name);

}  // namespace Larkspan::Common::IO
