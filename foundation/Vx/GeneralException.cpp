#include "foundation/Vx/GeneralException.h"

namespace Vx {

GeneralException::~GeneralException() = default;

}  // namespace Vx
