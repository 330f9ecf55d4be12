#pragma once

#include "foundation/Export.h"
#include "foundation/IO/File.h"
#include "foundation/IO/Location.h"
#include "foundation/Vx/FailureDetail.h"
#include "foundation/Vx/String.h"

/// The reason behind a status, in the system's own terms. A status tells what a program can act on;
/// several values of `errno` share one.
namespace IO {

/// The value of `errno` behind `status`, if that is the last failure that an operation of this
/// layer reported on this thread; else 0.
[[nodiscard]] FOUNDATION_API int GetSystemError(int status) noexcept;

/// What the system says of a value of `errno`, without a final full stop.
/// Throws `Vx::OutOfMemoryException`.
[[nodiscard]] FOUNDATION_API Vx::String DescribeSystemError(int error);

/// The detail of an operation on `location` that has just failed with `status`. Out of memory, the
/// path stays empty.
[[nodiscard]] FOUNDATION_API Vx::FailureDetail MakeFailureDetail(const Location& location,
                                                                 int status) noexcept;
[[nodiscard]] FOUNDATION_API Vx::FailureDetail MakeFailureDetail(const File& file,
                                                                 int status) noexcept;

/// The exception, with the detail of an operation on a location or a file that has just failed:
/// `throw WithDetail(Vx::IOException(...), location, status);`
template <class Exception, class Item>
[[nodiscard]] Exception WithDetail(Exception exception, const Item& item, int status) {
  exception.SetDetail(MakeFailureDetail(item, status));
  return exception;
}

}  // namespace IO
