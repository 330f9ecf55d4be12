#pragma once

#include <string_view>

#include "Larkspan/Common/Export.h"
#include "foundation/IO/Attributes.h"
#include "foundation/Vx/UniString.h"

/// What headers hold of a file tree: time, mode and owners of files, symbolic and hard links, and
/// the facts of folders. The readers are strict: a text that is something else, or out of range,
/// is not taken.
namespace Larkspan::Archive::TreeFacts {

/// Headers of entries.
inline constexpr char16_t TimeHeader[] = u"mtime";
inline constexpr char16_t ModeHeader[] = u"mode";
inline constexpr char16_t OwnerHeader[] = u"owner";
inline constexpr char16_t GroupHeader[] = u"group";
/// `1` for a file with holes.
inline constexpr char16_t SparseHeader[] = u"sparse";
/// What the entry is, if not a file; its data says where the link leads.
inline constexpr char16_t TypeHeader[] = u"type";
/// The data is the target as the platform has it.
inline constexpr char16_t SymbolicLinkType[] = u"link";
/// The data is the name of an entry before this one, in the encoding of names in archives.
inline constexpr char16_t HardLinkType[] = u"hardlink";
/// Stands before a folder's path in the name of a header: of the archive for an empty folder, of
/// the first entry below it for any other.
inline constexpr std::u16string_view FolderPrefix = u"folder:";

/// A user or a group: the number, and the name, which is empty if it is not known.
struct Account {
  unsigned int number = 0;
  Vx::UniString name;
};

/// What is kept of a folder.
struct Folder {
  unsigned int mode = 0;
  bool hasTime = false;
  Vx::Int64 modifiedSeconds = 0;
  unsigned int modifiedNanoseconds = 0;
  bool hasOwners = false;
  Account owner;
  Account group;
};

/// The header of the folder with that path.
[[nodiscard]] LARKSPAN_API Vx::UniString FolderToHeader(const Vx::UniString& path);
/// Seconds since 1970 as a decimal number with nine decimals.
[[nodiscard]] LARKSPAN_API Vx::UniString TimeToText(const ::IO::Attributes& attributes);
/// Octal digits with a leading zero.
[[nodiscard]] LARKSPAN_API Vx::UniString ModeToText(unsigned int mode);
/// The number, and the name behind a blank.
[[nodiscard]] LARKSPAN_API Vx::UniString AccountToText(const Account& account);
/// Mode, time, owner and group, with a blank between them; `:` stands between number and name.
[[nodiscard]] LARKSPAN_API Vx::UniString FolderToText(const Folder& folder);

/// The inverses. False, with nothing changed, for a text that is something else.
[[nodiscard]] LARKSPAN_API bool TimeFromText(std::u16string_view text,
                                             ::IO::Attributes& attributes);
[[nodiscard]] LARKSPAN_API bool ModeFromText(std::u16string_view text, unsigned int& mode);
[[nodiscard]] LARKSPAN_API bool AccountFromText(std::u16string_view text, Account& account);
[[nodiscard]] LARKSPAN_API bool FolderFromText(std::u16string_view text, Folder& folder);

}  // namespace Larkspan::Archive::TreeFacts
