#pragma once

#include "foundation/Vx/ExceptionClass.h"

namespace Vx {

namespace Detail {
/// Where the virtual base joins the tree.
class FOUNDATION_API ExceptionRoot : public virtual VxException {};
}  // namespace Detail

/// Any failure that is an exception at all; the classes below it say which kind.
class FOUNDATION_API GeneralException
    : public ExceptionClass<GeneralException, Detail::ExceptionRoot, -7000> {
 public:
  using ExceptionClass::ExceptionClass;
  ~GeneralException() override;

  static constexpr const char* Name = "GeneralException";
};

}  // namespace Vx
