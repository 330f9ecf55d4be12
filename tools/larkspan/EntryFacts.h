#pragma once

#include <string>
#include <string_view>

#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "foundation/IO/Attributes.h"
#include "foundation/IO/File.h"
#include "foundation/Vx/UniString.h"

/// What the tool keeps in headers: of a file its time and mode, of an empty folder its mode.
namespace Tool::EntryFacts {

inline constexpr char16_t TimeHeader[] = u"mtime";
inline constexpr char16_t ModeHeader[] = u"mode";
/// Stands before the path in the name of an archive header.
inline constexpr std::u16string_view FolderPrefix = u"folder:";

/// The archive header of an empty folder.
[[nodiscard]] Vx::UniString FolderToHeader(const Vx::UniString& path);

/// Seconds since 1970 as a decimal number with nine decimals.
[[nodiscard]] Vx::UniString TimeToText(const ::IO::Attributes& attributes);
/// Octal digits with a leading zero.
[[nodiscard]] Vx::UniString ModeToText(unsigned int mode);

/// The inverses. False, with nothing changed, for a text that is something else.
[[nodiscard]] bool TimeFromText(std::u16string_view text, ::IO::Attributes& attributes);
[[nodiscard]] bool ModeFromText(std::u16string_view text, unsigned int& mode);

/// Whether the entry's mode keeps anybody from reading the file.
[[nodiscard]] bool IsPrivate(const Larkspan::Common::IO::ArchiveEntry& entry);
/// Gives the open file what the entry's headers hold of the two, of the mode the bits in
/// `modeMask`. Returns the status of the file.
[[nodiscard]] int RestoreAttributes(const Larkspan::Common::IO::ArchiveEntry& entry,
                                    unsigned int modeMask, ::IO::File& file);

/// Date and time of day in UTC; the text of a time that no calendar has is a dash.
[[nodiscard]] std::string ToCalendar(__int64 seconds);

}  // namespace Tool::EntryFacts
