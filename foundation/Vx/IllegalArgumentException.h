#pragma once

#include "foundation/Vx/ExceptionClass.h"
#include "foundation/Vx/LogicErrorException.h"

namespace Vx {

/// An argument that is wrong in itself.
class FOUNDATION_API IllegalArgumentException
    : public ExceptionClass<IllegalArgumentException, LogicErrorException, -7007> {
 public:
  using ExceptionClass::ExceptionClass;
  ~IllegalArgumentException() override;

  static constexpr const char* Name = "IllegalArgumentException";
};

}  // namespace Vx
