#include "foundation/Vx/PreconditionException.h"

namespace Vx {

PreconditionException::~PreconditionException() = default;

}  // namespace Vx
