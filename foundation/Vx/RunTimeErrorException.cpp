#include "foundation/Vx/RunTimeErrorException.h"

namespace Vx {

RunTimeErrorException::~RunTimeErrorException() = default;

}  // namespace Vx
