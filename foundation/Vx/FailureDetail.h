#pragma once

#include "foundation/Vx/String.h"

namespace Vx {

/// What the system refused, and where: beside an exception's message, whose words never change.
struct FailureDetail {
  String path;          // as the platform writes it; empty if unknown
  int status = 0;       // what the file-system layer reported
  int systemError = 0;  // the value of `errno` behind it, 0 if unknown
};

}  // namespace Vx
