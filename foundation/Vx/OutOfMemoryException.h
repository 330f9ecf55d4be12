#pragma once

#include "foundation/Vx/ExceptionClass.h"
#include "foundation/Vx/RunTimeErrorException.h"

namespace Vx {

/// Memory could not be had. Usually without message and position.
class FOUNDATION_API OutOfMemoryException
    : public ExceptionClass<OutOfMemoryException, RunTimeErrorException, -7009> {
 public:
  using ExceptionClass::ExceptionClass;
  ~OutOfMemoryException() override;

  static constexpr const char* Name = "OutOfMemoryException";
};

}  // namespace Vx
