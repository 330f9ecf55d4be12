#include "foundation/Vx/LogicErrorException.h"

namespace Vx {

LogicErrorException::~LogicErrorException() = default;

}  // namespace Vx
