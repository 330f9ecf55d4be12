#pragma once

#include "foundation/Vx/ExceptionClass.h"
#include "foundation/Vx/GeneralException.h"

namespace Vx {

/// A fault in the calling program.
class FOUNDATION_API LogicErrorException
    : public ExceptionClass<LogicErrorException, GeneralException, -7001> {
 public:
  using ExceptionClass::ExceptionClass;
  ~LogicErrorException() override;

  static constexpr const char* Name = "LogicErrorException";
};

}  // namespace Vx
