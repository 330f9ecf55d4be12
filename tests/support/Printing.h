#pragma once

#include <ostream>

#include "foundation/IO/Location.h"
#include "foundation/Vx/UniString.h"

// How GoogleTest shows values of these types; each stands beside its type, where it is looked up.
// The build puts this header in front of every test, so that all of them show a value alike.

namespace Vx {

inline void PrintTo(const UniString& text, std::ostream* stream) {
  *stream << '"' << text.ToUTF8() << '"';
}

}  // namespace Vx

namespace IO {

inline void PrintTo(const Location& location, std::ostream* stream) {
  Vx::UniString path;
  if (location.ToPath(path) == 0) {
    Vx::PrintTo(path, stream);
  } else {
    *stream << "an invalid location";
  }
}

}  // namespace IO
