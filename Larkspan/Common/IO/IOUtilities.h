#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/IO/Location.h"
#include "foundation/Vx/Types.h"

/// Questions and commands on one path in the file system. All but `Delete` throw
/// `Vx::IllegalArgumentException` first for a location that is not valid or empty; what the file
/// system refuses is a `Vx::IOException`. Nothing is undone: a command that failed halfway leaves
/// what it did. There is no state, and any number of threads can call.
namespace Larkspan::Common::IO {

/// Whether anything is there; a symbolic link counts, wherever it leads.
[[nodiscard]] LARKSPAN_API bool Exists(const ::IO::Location& location);

/// What is there, with symbolic links followed. Both fail where nothing is.
[[nodiscard]] LARKSPAN_API bool IsFolder(const ::IO::Location& location);
[[nodiscard]] LARKSPAN_API bool IsFile(const ::IO::Location& location);

/// The size in bytes of a file that is there. Fails beyond 0xFFFFFFFF bytes.
[[nodiscard]] LARKSPAN_API Vx::UInt64 GetFileSize(const ::IO::Location& location);

/// Makes the folder that the location lies in, with all missing levels above it. Does nothing if
/// anything is there already, be it a file, and for a location that has no parent but a root.
LARKSPAN_API void CreateParentFolder(const ::IO::Location& location);

/// Makes the folder, with all missing levels above it. Does nothing if anything is there already,
/// be it a file.
LARKSPAN_API void CreateFolder(const ::IO::Location& location);

/// Removes a file, a symbolic link itself, or an empty folder; nothing there is a failure. Where
/// access is denied, as for a file that somebody else holds for a moment, it tries up to
/// `retryCount` times more, and sleeps `retryDelay` milliseconds before each.
LARKSPAN_API void Delete(const ::IO::Location& location, unsigned int retryCount,
                         unsigned int retryDelay);
/// The same with 5 repeats and 250 milliseconds.
LARKSPAN_API void Delete(const ::IO::Location& location);

}  // namespace Larkspan::Common::IO
