#pragma once

#include "foundation/Vx/ExceptionClass.h"
#include "foundation/Vx/RunTimeErrorException.h"

namespace Vx {

/// Text or bytes that can't be converted.
class FOUNDATION_API ConversionErrorException
    : public ExceptionClass<ConversionErrorException, RunTimeErrorException, -7010> {
 public:
  using ExceptionClass::ExceptionClass;
  ~ConversionErrorException() override;

  static constexpr const char* Name = "ConversionErrorException";
};

}  // namespace Vx
