#pragma once

#include "foundation/Vx/ExceptionClass.h"
#include "foundation/Vx/IOException.h"

namespace Vx {

/// Data that does not fit its format.
class FOUNDATION_API DataIntegrityException
    : public ExceptionClass<DataIntegrityException, IOException, -7005> {
 public:
  using ExceptionClass::ExceptionClass;
  ~DataIntegrityException() override;

  static constexpr const char* Name = "DataIntegrityException";
};

}  // namespace Vx
