#pragma once

#include <cstddef>
#include <string_view>
#include <type_traits>

#include "foundation/Export.h"
#include "foundation/Vx/Types.h"

namespace Vx {

class UniString;

/// Where a scanned value goes. Refers to the caller's variable.
class ScanTarget {
 public:
  template <class T>
  requires(std::is_integral_v<T> && !std::is_same_v<T, bool>) ScanTarget(T* value)
  noexcept : target(value), width(sizeof(T)), isSigned(std::is_signed_v<T>) {}
  ScanTarget(UniString* value) noexcept : target(value), isText(true) {}

  void* target;
  std::size_t width = 0;  // of an integer, in bytes
  bool isSigned = false;
  bool isText = false;
};

/// Reads values from `text` by `format` and returns the number of fields converted.
///
/// Directives are those of C's `scanf`: `d i u` for decimal and `x` for hexadecimal integers, `s`
/// for a word, and `%%`. Length modifiers are read over: the target's type decides. Integers skip
/// leading blanks, take a sign (unsigned types only `+`) and end at the first character that is not
/// a digit; one that does not fit its type is not converted. A blank in `format` matches any
/// blanks, any other character itself. The scan ends at the first thing that does not match.
[[nodiscard]] FOUNDATION_API unsigned int ScanText(std::u16string_view text, const char* format,
                                                   const ScanTarget* targets, std::size_t count);

}  // namespace Vx
