#pragma once

// The 64-bit integers go by the names `__int64` and `unsigned __int64`, too; where the compiler has
// no such type, the name is a macro for the one that it has. A host that defines the name itself
// leaves the macro out with LARKSPAN_NO_INT64_MACRO: no public header needs it.
#if !defined(_MSC_VER) && !defined(__int64) && !defined(LARKSPAN_NO_INT64_MACRO)
// NOLINTNEXTLINE(bugprone-reserved-identifier): the name is part of the interface.
#define __int64 long long
#endif

namespace Vx {

/// One 16-bit unit of a `UniString`: a UTF-16 code unit, lone surrogates included.
using UniChar = char16_t;

using Int64 = long long;
using UInt64 = unsigned long long;

/// As a count: to the end of the text. As a result of a search: not found.
inline constexpr unsigned int ToEnd = 0xFFFFFFFFU;
inline constexpr unsigned int NotFound = 0xFFFFFFFFU;

static_assert(sizeof(unsigned int) == 4, "32-bit counts and sizes are assumed everywhere");
static_assert(sizeof(UInt64) == 8, "64-bit sizes are assumed everywhere");

}  // namespace Vx
