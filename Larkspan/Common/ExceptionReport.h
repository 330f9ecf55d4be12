#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/VxException.h"

namespace Larkspan::Common {

/// A report of an exception and its causes for people to read. It begins with a line break and has
/// two lines for each exception, the outermost first: its name and message, and, after a tab, the
/// source position that threw it.
[[nodiscard]] LARKSPAN_API Vx::UniString ToString(const VxException& exception);

/// Sends the report to the debug output.
LARKSPAN_API void DebugPrintEx(const VxException& exception);

}  // namespace Larkspan::Common
