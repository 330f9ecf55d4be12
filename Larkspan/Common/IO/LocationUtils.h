#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/IO/Location.h"
#include "foundation/IO/RelativeLocation.h"
#include "foundation/Vx/UniString.h"

/// Paths in the file system as text, and text as names. Failures are
/// `Vx::IllegalArgumentException` for an argument that is wrong in itself and `Vx::IOException` for
/// one that does not work out.
namespace Larkspan::Common::IO {

/// Whether a name may hold the unit on every platform: it is not below U+0020 and none of
/// `\ / : * ? " < > |`.
[[nodiscard]] LARKSPAN_API bool IsLegalNameChar(const Vx::UniChar& character) noexcept;

/// The name with every unit that is not legal overwritten by `replacement`, which must be legal.
[[nodiscard]] LARKSPAN_API Vx::UniString NormalizeName(const Vx::UniString& name,
                                                       const Vx::UniChar& replacement);

/// Whether the text, which must not be empty, makes a location.
[[nodiscard]] LARKSPAN_API bool IsAbsolutePath(const Vx::UniString& path);
/// The opposite: any other text that is not empty counts as relative.
[[nodiscard]] LARKSPAN_API bool IsRelativePath(const Vx::UniString& path);

/// The path text, with U+005C as separator.
[[nodiscard]] LARKSPAN_API Vx::UniString LocationToPath(const ::IO::Location& location);
/// The names with U+005C between them.
[[nodiscard]] LARKSPAN_API Vx::UniString LocationToPath(const ::IO::RelativeLocation& location);

/// The location of an absolute path.
[[nodiscard]] LARKSPAN_API ::IO::Location LocationFromPath(const Vx::UniString& path);
/// The location that a relative path leads to from `base`.
[[nodiscard]] LARKSPAN_API ::IO::Location LocationFromRelativePath(const ::IO::Location& base,
                                                                   const Vx::UniString& path);

/// The `file` URL: "file://" and the path with `/` as separator. No character is escaped.
[[nodiscard]] LARKSPAN_API Vx::UniString LocationToURL(const ::IO::Location& location);
/// The location of such a URL. No escapes are decoded, and there is no host part.
[[nodiscard]] LARKSPAN_API ::IO::Location LocationFromURL(const Vx::UniString& url);

}  // namespace Larkspan::Common::IO
