#pragma once

#include <string_view>

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/UniString.h"

namespace Larkspan::Archive {

/// Whether a symbolic link under a relative name, with `/` between its parts, stays below the
/// folder that the name counts from, if the folders on the way to it are no links: its target is
/// relative, and leads up before it leads down, and not above. Where that holds for every link
/// below the folder, none leads out, alone or by way of others.
[[nodiscard]] LARKSPAN_API bool StaysBelow(std::u16string_view name,
                                           std::string_view target) noexcept;

}  // namespace Larkspan::Archive
