#pragma once

// The 64-bit integers are spelled `__int64` and `unsigned __int64` throughout; where the compiler
// has no such type, the name is a macro for the one that it has.
#if !defined(_MSC_VER) && !defined(__int64)
// NOLINTNEXTLINE(bugprone-reserved-identifier): the name is part of the interface.
#define __int64 long long
#endif

namespace Vx {

/// One 16-bit unit of a `UniString`: a UTF-16 code unit, lone surrogates included.
using UniChar = char16_t;

/// As a count: to the end of the text. As a result of a search: not found.
inline constexpr unsigned int ToEnd = 0xFFFFFFFFU;
inline constexpr unsigned int NotFound = 0xFFFFFFFFU;

static_assert(sizeof(unsigned int) == 4, "32-bit counts and sizes are assumed everywhere");
static_assert(sizeof(unsigned __int64) == 8, "64-bit sizes are assumed everywhere");

}  // namespace Vx
