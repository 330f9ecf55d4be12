#pragma once

#include "foundation/IO/Attributes.h"
#include "foundation/Vx/String.h"

/// Metadata of items. Every function returns a value of `errno`.
namespace IO::Posix {

[[nodiscard]] int ReadAttributes(const Vx::String& path, bool followLinks,
                                 Attributes* attributes) noexcept;
[[nodiscard]] int ReadAttributes(int descriptor, Attributes* attributes) noexcept;
/// Of the item `name` in the folder.
[[nodiscard]] int ReadAttributes(int folder, const Vx::String& name, bool followLinks,
                                 Attributes* attributes) noexcept;

/// Mode and time of modification.
[[nodiscard]] int WriteAttributes(int descriptor, const Attributes& attributes) noexcept;

/// The time of modification.
[[nodiscard]] int WriteTime(int descriptor, const Attributes& attributes) noexcept;

/// Owner and group, or only the group with the failure for the owner.
[[nodiscard]] int WriteOwner(int descriptor, const Attributes& attributes) noexcept;

/// Of an item in a folder, or of a symbolic link itself.
[[nodiscard]] int WriteTime(int folder, const Vx::String& name,
                            const Attributes& attributes) noexcept;
[[nodiscard]] int WriteOwner(int folder, const Vx::String& name,
                             const Attributes& attributes) noexcept;

/// Of a folder in a folder that is held open; ENOTDIR for anything else, a symbolic link included.
[[nodiscard]] int WriteFolderAttributes(int folder, const Vx::String& name,
                                        const Attributes& attributes) noexcept;

}  // namespace IO::Posix
