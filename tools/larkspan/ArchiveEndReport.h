#pragma once

#include <string>

#include "Larkspan/Common/IO/ArchiveEnd.h"
#include "tools/larkspan/Console.h"

namespace Tool {

/// Tells of a header that isn't the one that was written: a bad archive.
void ReportHeaderCheck(const std::string& subject, const Larkspan::Common::IO::ArchiveEnd& end,
                       Console& console);

/// Tells of an archive that doesn't end as a writer leaves it. What contradicts a seal or the
/// promise of one makes a bad archive; other bytes behind the last entry are a warning.
void ReportEnd(const std::string& subject, const Larkspan::Common::IO::ArchiveEnd& end,
               Console& console);

}  // namespace Tool
