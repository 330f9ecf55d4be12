#pragma once

#include <functional>

#include "foundation/Vx/String.h"

/// A new file that has no name of its own until it is complete. Every function returns a value of
/// `errno`, 0 for success.
///
/// Where the file system can't make a file without a name, it has one that begins with
/// `.larkspan-`. Its maker holds a lock on it, by which it is told from one that a dead process
/// left behind.
namespace IO::Posix {

constexpr unsigned int PrivateMode = 0600;
constexpr unsigned int OrdinaryMode = 0666;  // less what the process masks out

/// Makes the file, for reading and writing, with permissions `mode` less what the process masks
/// out. `name` stays empty if it has none; one that has a name is for its owner alone, unless
/// `mode` is the ordinary one.
[[nodiscard]] int MakeUnnamedFile(int folder, unsigned int mode, int* descriptor,
                                  Vx::String& name) noexcept;

/// Gives it the name `target`: EEXIST if that is taken.
[[nodiscard]] int NameFile(int folder, int descriptor, const Vx::String& name,
                           const Vx::String& target) noexcept;
/// The same in place of a file that has the name, in one step.
[[nodiscard]] int NameFileReplacing(int folder, int descriptor, const Vx::String& name,
                                    const Vx::String& target) noexcept;

/// Puts a symbolic link, or a further name of a file, in the place of what has the name `target`,
/// in one step. `make` makes it under a temporary name first, and returns a value of `errno`.
[[nodiscard]] int PutReplacing(int folder, const Vx::String& target,
                               const std::function<int(const Vx::String&)>& make) noexcept;

/// Whether a file of that name is, or was, one of these.
[[nodiscard]] bool IsTemporaryName(Vx::String::View name) noexcept;

/// Removes the file unless somebody holds a lock on it, as its maker does while alive.
void RemoveIfDead(int folder, const Vx::String& name) noexcept;

/// Removes the files of dead processes from the folder; what can't be removed stays.
void RemoveDeadFiles(int folder) noexcept;

}  // namespace IO::Posix
