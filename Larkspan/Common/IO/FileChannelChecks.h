#pragma once

#include "foundation/IO/Location.h"
#include "foundation/Vx/IllegalArgumentException.h"

namespace Larkspan::Common::IO {

/// The first tests of both file channels: the location is valid and not empty.
inline void CheckFileLocation(const ::IO::Location& location, const char* fileName,
                              unsigned int lineNumber) {
  if (!location.IsValid()) {
    throw Vx::IllegalArgumentException("Invalid file location: location is not valid.", fileName,
                                       lineNumber);
  }
  if (location.IsEmpty()) {
    throw Vx::IllegalArgumentException("Invalid file location: location is empty.", fileName,
                                       lineNumber);
  }
}

}  // namespace Larkspan::Common::IO
