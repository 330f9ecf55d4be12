#pragma once

#include "foundation/IO/Folder.h"
#include "foundation/Vx/String.h"

/// Single steps on the names of a folder that is held open, and on paths. Every function returns a
/// value of `errno`, 0 for success.
namespace IO::Posix {

/// Whether `error`, from `SwapNames` or `MoveName`, says that the file system has no such step.
[[nodiscard]] bool IsUnsupported(int error) noexcept;

/// Swaps two names in one step.
[[nodiscard]] int SwapNames(int folder, const Vx::String& first, const Vx::String& second) noexcept;
/// The item gets another name; EEXIST if that is taken.
[[nodiscard]] int MoveName(int folder, const Vx::String& from, const Vx::String& to) noexcept;
/// The item gets another name in one step; what had it is gone.
[[nodiscard]] int ReplaceName(int folder, const Vx::String& from, const Vx::String& to) noexcept;
/// The file gets a second name; EEXIST if that is taken.
[[nodiscard]] int LinkName(int folder, const Vx::String& from, const Vx::String& to) noexcept;
/// The same in another folder.
[[nodiscard]] int LinkName(int fromFolder, const Vx::String& from, int toFolder,
                           const Vx::String& to) noexcept;
/// EEXIST if the name is taken.
[[nodiscard]] int MakeSymbolicLink(int folder, const Vx::String& name,
                                   const Vx::String& target) noexcept;
[[nodiscard]] int RemoveName(int folder, const Vx::String& name) noexcept;

/// Whether both names lead to the very same item.
[[nodiscard]] bool AreOneItem(int folder, const Vx::String& first,
                              const Vx::String& second) noexcept;

/// Syncs one file of the folder.
[[nodiscard]] int SyncFile(int folder, const Vx::String& name) noexcept;

/// Adds the names of all items but `.` and `..`. Throws `Vx::OutOfMemoryException`.
[[nodiscard]] int ListNames(int folder, Folder::Names& names);

/// The path of the item without symbolic links.
[[nodiscard]] int ResolvePath(const Vx::String& path, Vx::String& real) noexcept;

/// The bytes that a symbolic link holds; EINVAL for anything else. Throws
/// `Vx::OutOfMemoryException`.
[[nodiscard]] int ReadLink(const Vx::String& path, Vx::String& target);

/// A file, a link itself, or an empty folder.
[[nodiscard]] int RemoveItem(const Vx::String& path) noexcept;
/// 0 for a folder that is there; ENOTDIR if something else is.
[[nodiscard]] int MakeFolder(const Vx::String& path) noexcept;
/// The same in a folder that is held open; a symbolic link of that name is ENOTDIR.
[[nodiscard]] int MakeFolderIn(int folder, const Vx::String& name) noexcept;
/// Removes a file, a link itself, or an empty folder.
[[nodiscard]] int RemoveItemIn(int folder, const Vx::String& name) noexcept;
/// The path of the current folder. Throws `Vx::OutOfMemoryException`.
[[nodiscard]] int GetWorkingFolder(Vx::String& path);

}  // namespace IO::Posix
