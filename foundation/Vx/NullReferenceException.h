#pragma once

#include "foundation/Vx/ExceptionClass.h"
#include "foundation/Vx/LogicErrorException.h"

namespace Vx {

/// Reading through an empty reference.
class FOUNDATION_API NullReferenceException
    : public ExceptionClass<NullReferenceException, LogicErrorException, -7008> {
 public:
  using ExceptionClass::ExceptionClass;
  ~NullReferenceException() override;

  static constexpr const char* Name = "NullReferenceException";
};

}  // namespace Vx
