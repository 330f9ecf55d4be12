#include "Larkspan/Common/IO/ArchiveException.h"

namespace Larkspan::Common::IO {

ArchiveException::~ArchiveException() = default;

}  // namespace Larkspan::Common::IO
