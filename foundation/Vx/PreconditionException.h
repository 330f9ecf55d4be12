#pragma once

#include "foundation/Vx/ExceptionClass.h"
#include "foundation/Vx/LogicErrorException.h"

namespace Vx {

/// An operation was called in a state that does not allow it.
class FOUNDATION_API PreconditionException
    : public ExceptionClass<PreconditionException, LogicErrorException, -7006> {
 public:
  using ExceptionClass::ExceptionClass;
  ~PreconditionException() override;

  static constexpr const char* Name = "PreconditionException";
};

}  // namespace Vx
