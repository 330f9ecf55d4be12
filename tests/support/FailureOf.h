#pragma once

#include <string>

#include "foundation/Vx/VxException.h"

namespace Tests {

/// "Class: message" of an exception.
inline std::string Describe(const VxException& exception) {
  return std::string(exception.GetName()) + ": " + exception.GetMessage().ToUTF8();
}

/// What `work` fails with, as `Describe` tells it; "" if it doesn't fail.
template <class Work>
std::string FailureOf(Work&& work) {
  try {
    static_cast<void>(work());
  } catch (const VxException& exception) {
    return Describe(exception);
  }
  return "";
}

}  // namespace Tests
