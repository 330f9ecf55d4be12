#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/IOException.h"

namespace Larkspan::Common::IO {

/// An archive that does not keep to its format, or an operation that its state does not allow.
class LARKSPAN_API ArchiveException
    : public Vx::ExceptionClass<ArchiveException, Vx::IOException, -7003> {
 public:
  using ExceptionClass::ExceptionClass;
  ~ArchiveException() override;

  static constexpr const char* Name = "ArchiveException";
};

}  // namespace Larkspan::Common::IO
