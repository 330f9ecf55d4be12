#pragma once

#include "foundation/Vx/String.h"

/// Changes of names that survive a kill or a power cut at any point. Every function returns a value
/// of `errno`, 0 for success, and leaves everything as it was otherwise.
namespace IO::Posix {

/// Two files of the folder swap names; a complete file stands under `first` at all times.
[[nodiscard]] int ExchangeNames(int folder, const Vx::String& first,
                                const Vx::String& second) noexcept;

/// Removes what exchanges of dead processes have left in the folder; what can't be removed stays.
/// The caller holds the lock on the open file `locked`.
void RemoveDeadSpares(int folder, int locked) noexcept;

/// Renames an item within its folder, and never replaces. A failure leaves its old name.
[[nodiscard]] int MoveItem(int folder, const Vx::String& from, const Vx::String& to) noexcept;

/// The item gets the name `to`, which must be free: EEXIST if it is not.
[[nodiscard]] int RenameItem(int folder, const Vx::String& from, const Vx::String& to) noexcept;

}  // namespace IO::Posix
