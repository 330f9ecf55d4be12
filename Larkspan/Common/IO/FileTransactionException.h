#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/IOException.h"

namespace Larkspan::Common::IO {

/// A file transaction could not be started, committed, aborted or recovered.
class LARKSPAN_API FileTransactionException
    : public Vx::ExceptionClass<FileTransactionException, Vx::IOException, -7003> {
 public:
  using ExceptionClass::ExceptionClass;
  ~FileTransactionException() override;

  static constexpr const char* Name = "FileTransactionException";
};

}  // namespace Larkspan::Common::IO
