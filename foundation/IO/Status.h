#pragma once

#include "foundation/Vx/StatusCode.h"

namespace IO {

/// What the operations of the file-system layer report. 0 is success, everything else a failure;
/// the values are stable and may be shown to users.
using Vx::StatusSuccess;

inline constexpr int StatusOutOfMemory = Vx::StatusCode(0x81000001U);
inline constexpr int StatusInvalidArgument = Vx::StatusCode(0x81000002U);
/// The location is invalid or empty, or it holds a name that no file can have.
inline constexpr int StatusInvalidLocation = Vx::StatusCode(0x81000003U);
inline constexpr int StatusNotOpen = Vx::StatusCode(0x81000004U);
inline constexpr int StatusAlreadyOpen = Vx::StatusCode(0x81000005U);
/// The value does not fit the type that delivers it.
inline constexpr int StatusTooLarge = Vx::StatusCode(0x81000006U);

using Vx::StatusEndOfInput;
using Vx::StatusReadError;

/// The device, the quota or the largest file size is used up.
using Vx::StatusOutputFull;
using Vx::StatusWriteError;
/// Nobody reads the other end of the pipe any more.
inline constexpr int StatusPipeClosed = Vx::StatusCode(0x81000202U);

/// The system refused for a reason without a status of its own.
inline constexpr int StatusFailed = Vx::StatusCode(0x81010000U);

/// Nothing is there; said by a file object.
inline constexpr int StatusFileNotFound = Vx::StatusCode(0x81010100U);

/// Nothing is there; said by the file system and by folders.
inline constexpr int StatusNotFound = Vx::StatusCode(0x81010200U);
inline constexpr int StatusAlreadyExists = Vx::StatusCode(0x81010201U);
/// Permissions, a read-only file system, or an item in use.
inline constexpr int StatusAccessDenied = Vx::StatusCode(0x81010202U);
inline constexpr int StatusNotAFolder = Vx::StatusCode(0x81010203U);
inline constexpr int StatusIsAFolder = Vx::StatusCode(0x81010204U);
inline constexpr int StatusFolderNotEmpty = Vx::StatusCode(0x81010205U);

/// A device, a pipe or a symbolic link has the name of a file.
inline constexpr int StatusNotAFile = Vx::StatusCode(0x81010206U);
/// A symbolic link stands on a way that must not lead through one.
inline constexpr int StatusLinkOnTheWay = Vx::StatusCode(0x81010207U);
/// Somebody else holds the lock on the file.
inline constexpr int StatusLocked = Vx::StatusCode(0x81010208U);

}  // namespace IO
