#pragma once

#include "foundation/Vx/ExceptionClass.h"
#include "foundation/Vx/IOException.h"

namespace Vx {

/// Input ended before a value was complete.
class FOUNDATION_API EndOfInputException
    : public ExceptionClass<EndOfInputException, IOException, -7004> {
 public:
  using ExceptionClass::ExceptionClass;
  ~EndOfInputException() override;

  static constexpr const char* Name = "EndOfInputException";
};

}  // namespace Vx
