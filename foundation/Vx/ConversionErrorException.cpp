#include "foundation/Vx/ConversionErrorException.h"

namespace Vx {

ConversionErrorException::~ConversionErrorException() = default;

}  // namespace Vx
