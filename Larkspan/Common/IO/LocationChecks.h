#pragma once

#include "foundation/IO/Location.h"
#include "foundation/IO/Status.h"
#include "foundation/Vx/IllegalArgumentException.h"
#include "foundation/Vx/OutOfMemoryException.h"

/// The first tests of whatever takes a location: it is valid, and it is not empty.
namespace Larkspan::Common::IO {

/// A location that found no memory for its text is no wrong argument.
inline void CheckMemory(const ::IO::Location& location, const char* file = __builtin_FILE(),
                        unsigned int line = __builtin_LINE()) {
  if (location.GetStatus() == ::IO::StatusOutOfMemory) {
    throw Vx::OutOfMemoryException("", file, line);
  }
}

inline void CheckLocation(const ::IO::Location& location, const char* file = __builtin_FILE(),
                          unsigned int line = __builtin_LINE()) {
  CheckMemory(location, file, line);
  if (!location.IsValid()) {
    throw Vx::IllegalArgumentException("Invalid location: location is not valid.", file, line);
  }
  if (location.IsEmpty()) {
    throw Vx::IllegalArgumentException("Invalid location: location is empty.", file, line);
  }
}

/// The same in the words of those that mean a file.
inline void CheckFileLocation(const ::IO::Location& location, const char* file = __builtin_FILE(),
                              unsigned int line = __builtin_LINE()) {
  CheckMemory(location, file, line);
  if (!location.IsValid()) {
    throw Vx::IllegalArgumentException("Invalid file location: location is not valid.", file, line);
  }
  if (location.IsEmpty()) {
    throw Vx::IllegalArgumentException("Invalid file location: location is empty.", file, line);
  }
}

}  // namespace Larkspan::Common::IO
