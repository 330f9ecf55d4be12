#pragma once

#include <concepts>

#include "foundation/Vx/Guid.h"
#include "foundation/Vx/Types.h"

namespace Vx {

/// The primitive types that protocols have an operation for. Nothing else converts to them on a
/// channel: a pointer is not a `bool`, and a `char16_t` is not an `int`.
template <class T>
concept PrimitiveValue =
    std::same_as<T, char> || std::same_as<T, unsigned char> || std::same_as<T, bool> ||
    std::same_as<T, short> || std::same_as<T, unsigned short> || std::same_as<T, int> ||
    std::same_as<T, unsigned int> || std::same_as<T, long> || std::same_as<T, unsigned long> ||
    std::same_as<T, Int64> || std::same_as<T, UInt64> || std::same_as<T, float> ||
    std::same_as<T, double> || std::same_as<T, long double> || std::same_as<T, Guid>;

}  // namespace Vx
