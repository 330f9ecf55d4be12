#pragma once

#include <string>

#include "foundation/Vx/VxException.h"

namespace Tests {

/// "Class: message" of an exception.
inline std::string Describe(const VxException& exception) {
  return std::string(exception.GetName()) + ": " + exception.GetMessage().ToUTF8();
}

/// What `work` fails with, as `Describe` tells it; "" if it doesn't fail. `cause`, if given,
/// receives the same for the failure's cause.
template <class Work>
std::string FailureOf(Work&& work, std::string* cause = nullptr) {
  try {
    static_cast<void>(work());
  } catch (const VxException& exception) {
    if (cause && exception.GetCause()) *cause = Describe(*exception.GetCause());
    return Describe(exception);
  }
  return "";
}

/// What caused the failure of `work`; "" if nothing did.
template <class Work>
std::string CauseOf(Work&& work) {
  std::string cause;
  FailureOf(work, &cause);
  return cause;
}

}  // namespace Tests
