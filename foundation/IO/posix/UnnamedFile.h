#pragma once

#include "foundation/Vx/String.h"

/// A new file that has no name of its own until it is complete. Every function returns a value of
/// `errno`, 0 for success.
///
/// Where the file system can't make a file without a name, it has one that begins with
/// `.larkspan-`. Its maker holds a lock on it, by which it is told from one that a dead process
/// left behind.
namespace IO::Posix {

/// Makes the file, for reading and writing, with permissions for its owner alone (`isPrivate`) or
/// those that the process gives. `name` stays empty if it has none.
[[nodiscard]] int MakeUnnamedFile(int folder, bool isPrivate, int* descriptor,
                                  Vx::String& name) noexcept;

/// Gives it the name `target`: EEXIST if that is taken.
[[nodiscard]] int NameFile(int folder, int descriptor, const Vx::String& name,
                           const Vx::String& target) noexcept;
/// The same in place of a file that has the name, in one step.
[[nodiscard]] int NameFileReplacing(int folder, int descriptor, const Vx::String& name,
                                    const Vx::String& target) noexcept;

/// Whether a file of that name is, or was, one of these.
[[nodiscard]] bool IsTemporaryName(Vx::String::View name) noexcept;

/// Removes the file unless somebody holds a lock on it, as its maker does while alive.
void RemoveIfDead(int folder, const Vx::String& name) noexcept;

/// Removes the files of dead processes from the folder; what can't be removed stays.
void RemoveDeadFiles(int folder) noexcept;

}  // namespace IO::Posix
