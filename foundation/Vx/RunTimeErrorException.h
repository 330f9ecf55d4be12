#pragma once

#include "foundation/Vx/ExceptionClass.h"
#include "foundation/Vx/GeneralException.h"

namespace Vx {

/// A failure that a correct program can meet.
class FOUNDATION_API RunTimeErrorException
    : public ExceptionClass<RunTimeErrorException, GeneralException, -7002> {
 public:
  using ExceptionClass::ExceptionClass;
  ~RunTimeErrorException() override;

  static constexpr const char* Name = "RunTimeErrorException";
};

}  // namespace Vx
