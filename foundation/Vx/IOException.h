#pragma once

#include "foundation/Vx/ExceptionClass.h"
#include "foundation/Vx/GeneralException.h"

namespace Vx {

/// A failure of a channel, of the file system, or of data that was read.
class FOUNDATION_API IOException : public ExceptionClass<IOException, GeneralException, -7003> {
 public:
  using ExceptionClass::ExceptionClass;
  ~IOException() override;

  static constexpr const char* Name = "IOException";
};

}  // namespace Vx
