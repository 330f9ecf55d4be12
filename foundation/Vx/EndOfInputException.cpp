#include "foundation/Vx/EndOfInputException.h"

namespace Vx {

EndOfInputException::~EndOfInputException() = default;

}  // namespace Vx
