#include "foundation/Vx/OutOfMemoryException.h"

namespace Vx {

OutOfMemoryException::~OutOfMemoryException() = default;

}  // namespace Vx
