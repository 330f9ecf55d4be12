#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/IO/Location.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Common::IO {

/// Where the entry of that name is extracted to: the place below `folder` that the name leads to,
/// without one leading `/`, and with `/` and U+005C as separators.
///
/// Refuses every name that could lead an extraction out of the folder: with a component `..`, for
/// a place that does not lie below `folder`, or through a symbolic link on the way from the folder
/// to the place, the place included. Looks at the file system for the links, and creates nothing.
/// Raises `Vx::IllegalArgumentException` or `Vx::IOException`.
[[nodiscard]] LARKSPAN_API ::IO::Location LocationFromEntryName(const ::IO::Location& folder,
                                                                const Vx::UniString& name);

}  // namespace Larkspan::Common::IO
