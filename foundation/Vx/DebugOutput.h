#pragma once

#include <cstddef>

#include "foundation/Export.h"
#include "foundation/Vx/Format.h"

namespace Vx {

/// Receives debug output: bytes in UTF-8, not zero-terminated. May be called on any thread and
/// must not throw.
using DebugSink = void (*)(const char* bytes, std::size_t size);

/// Sends debug output to `sink`, or to standard error again for null. Returns the sink before, null
/// for standard error.
FOUNDATION_API DebugSink SetDebugSink(DebugSink sink) noexcept;

/// Sends formatted text to the debug output in one call. Text of 16-bit units goes out in UTF-8,
/// bytes go out as they are.
FOUNDATION_API void WriteDebugOutput(const char* format, const FormatArgument* arguments,
                                     std::size_t count);

}  // namespace Vx

/// Sends `format` with the arguments filled in to the debug output; see `Vx::FormatText` for the
/// directives. To send a text as it is, pass it as the argument of "%s".
template <class... Arguments>
void DBPrintf(const char* format, const Arguments&... arguments) {
  if constexpr (sizeof...(Arguments) == 0) {
    Vx::WriteDebugOutput(format, nullptr, 0);
  } else {
    const Vx::FormatArgument list[] = {Vx::FormatArgument(arguments)...};
    Vx::WriteDebugOutput(format, list, sizeof...(Arguments));
  }
}
