#pragma once

#include "Larkspan/Common/Export.h"
#include "foundation/Vx/IOException.h"

namespace Larkspan::Common::IO {

/// A file that is to be read is not there.
class LARKSPAN_API FileNotFoundException
    : public Vx::ExceptionClass<FileNotFoundException, Vx::IOException, -7003> {
 public:
  using ExceptionClass::ExceptionClass;
  ~FileNotFoundException() override;

  static constexpr const char* Name = "FileNotFoundException";
};

}  // namespace Larkspan::Common::IO
