#include "Larkspan/Common/IO/FileNotFoundException.h"

namespace Larkspan::Common::IO {

FileNotFoundException::~FileNotFoundException() = default;

}  // namespace Larkspan::Common::IO
