#pragma once

#include <string>

#include "Larkspan/Common/IO/ArchiveEnd.h"
#include "tools/larkspan/Console.h"
#include "tools/larkspan/JsonOutput.h"

namespace Tool {

/// Tells of a header that isn't the one that was written: a bad archive.
void ReportHeaderCheck(const std::string& subject, const Larkspan::Common::IO::ArchiveEnd& end,
                       Console& console);

/// Tells of an archive that doesn't end as a writer leaves it. What contradicts a seal or the
/// promise of one makes a bad archive; other bytes behind the last entry are a warning.
void ReportEnd(const std::string& subject, const Larkspan::Common::IO::ArchiveEnd& end,
               Console& console);

/// What the seal says of an archive that was read to its end, in a word or two.
[[nodiscard]] const char* DescribeSeal(const Larkspan::Common::IO::ArchiveEnd& end) noexcept;

/// The same for programs, and whether the header is the one that was written.
void PutEnd(const Larkspan::Common::IO::ArchiveEnd& end, JsonObject& object);

/// Whether there is nothing to tell of header and end.
[[nodiscard]] bool IsWhole(const Larkspan::Common::IO::ArchiveEnd& end) noexcept;

}  // namespace Tool
