#pragma once

#include "foundation/Vx/UniString.h"

/// The text that locations and relative locations share: a root, perhaps empty, and names with
/// one separator between them.
namespace IO::PathNames {

inline constexpr Vx::UniChar Separator = u'\\';

[[nodiscard]] constexpr bool IsSeparator(Vx::UniChar unit) noexcept {
  return unit == Separator || unit == u'/';
}

/// Whether `name` can be one name of a path: not empty, `.` or `..`, without separator and U+0000.
[[nodiscard]] bool IsName(Vx::UniString::View name) noexcept;

/// Appends one name to a path whose first `rootLength` units are its root. Throws
/// `Vx::OutOfMemoryException`.
void AppendName(Vx::UniString& path, unsigned int rootLength, Vx::UniString::View name);

/// Takes the last name away; false if there is none.
[[nodiscard]] bool RemoveLastName(Vx::UniString& path, unsigned int rootLength);

/// Appends all names of a path text, with `.` and `..` resolved. False if the text leads above the
/// root or holds U+0000; the path is then of no use. Throws `Vx::OutOfMemoryException`.
[[nodiscard]] bool AppendText(Vx::UniString& path, unsigned int rootLength,
                              Vx::UniString::View text);

/// The number of names below the root.
[[nodiscard]] unsigned int CountNames(Vx::UniString::View path, unsigned int rootLength) noexcept;

/// Where the last name begins; `rootLength` if there is one name or none.
[[nodiscard]] unsigned int FindLastName(Vx::UniString::View path, unsigned int rootLength) noexcept;

}  // namespace IO::PathNames
