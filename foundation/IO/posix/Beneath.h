#pragma once

#include "foundation/Vx/String.h"

/// Folders below one that is held open, reached without a symbolic link on the way: what another
/// process puts there meanwhile can't lead out. Every function returns a value of `errno`.
namespace IO::Posix {

/// Opens the folder `path`, names with `/` between them and none of them `..`, below `root`. ELOOP
/// if a symbolic link stands on the way, ENOENT or ENOTDIR if there is no such folder. With `make`,
/// missing levels are made, and stay if a later one fails. Throws nothing; its cost grows with the
/// length of the path.
[[nodiscard]] int OpenBeneath(int root, const Vx::String& path, bool make,
                              int* descriptor) noexcept;

}  // namespace IO::Posix
