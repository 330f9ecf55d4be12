#pragma once

namespace IO {

/// What the operations of the file-system layer report. 0 is success, everything else a failure;
/// the values are stable and may be shown to users.
inline constexpr int StatusSuccess = 0;

inline constexpr int StatusOutOfMemory = static_cast<int>(0x81000001U);
inline constexpr int StatusInvalidArgument = static_cast<int>(0x81000002U);
/// The location is invalid or empty, or it holds a name that no file can have.
inline constexpr int StatusInvalidLocation = static_cast<int>(0x81000003U);
inline constexpr int StatusNotOpen = static_cast<int>(0x81000004U);
inline constexpr int StatusAlreadyOpen = static_cast<int>(0x81000005U);
/// The value does not fit the type that delivers it.
inline constexpr int StatusTooLarge = static_cast<int>(0x81000006U);

inline constexpr int StatusEndOfInput = static_cast<int>(0x81000100U);
inline constexpr int StatusReadError = static_cast<int>(0x81000101U);

/// The device, the quota or the largest file size is used up.
inline constexpr int StatusOutputFull = static_cast<int>(0x81000200U);
inline constexpr int StatusWriteError = static_cast<int>(0x81000201U);
/// Nobody reads the other end of the pipe any more.
inline constexpr int StatusPipeClosed = static_cast<int>(0x81000202U);

/// The system refused for a reason without a status of its own.
inline constexpr int StatusFailed = static_cast<int>(0x81010000U);

/// Nothing is there; said by a file object.
inline constexpr int StatusFileNotFound = static_cast<int>(0x81010100U);

/// Nothing is there; said by the file system and by folders.
inline constexpr int StatusNotFound = static_cast<int>(0x81010200U);
inline constexpr int StatusAlreadyExists = static_cast<int>(0x81010201U);
/// Permissions, a read-only file system, or an item in use.
inline constexpr int StatusAccessDenied = static_cast<int>(0x81010202U);
inline constexpr int StatusNotAFolder = static_cast<int>(0x81010203U);
inline constexpr int StatusIsAFolder = static_cast<int>(0x81010204U);
inline constexpr int StatusFolderNotEmpty = static_cast<int>(0x81010205U);

}  // namespace IO
