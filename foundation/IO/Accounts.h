#pragma once

#include "foundation/Export.h"
#include "foundation/Vx/String.h"

/// Users and groups, by number and by name, as the system's databases have them. These may be
/// looked up over a network: callers keep what they were told. All report by status, and none
/// throws; `StatusNotFound` for one that the system doesn't know.
namespace IO {

[[nodiscard]] FOUNDATION_API int GetUserName(unsigned int number, Vx::String* name) noexcept;
[[nodiscard]] FOUNDATION_API int GetGroupName(unsigned int number, Vx::String* name) noexcept;
[[nodiscard]] FOUNDATION_API int FindUser(const Vx::String& name, unsigned int* number) noexcept;
[[nodiscard]] FOUNDATION_API int FindGroup(const Vx::String& name, unsigned int* number) noexcept;

/// Whether this process may give files to anybody.
[[nodiscard]] FOUNDATION_API bool IsPrivileged() noexcept;

}  // namespace IO
