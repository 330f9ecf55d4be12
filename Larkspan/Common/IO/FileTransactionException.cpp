#include "Larkspan/Common/IO/FileTransactionException.h"

namespace Larkspan::Common::IO {

FileTransactionException::~FileTransactionException() = default;

}  // namespace Larkspan::Common::IO
