#include "foundation/Vx/IllegalArgumentException.h"

namespace Vx {

IllegalArgumentException::~IllegalArgumentException() = default;

}  // namespace Vx
