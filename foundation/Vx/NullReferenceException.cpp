#include "foundation/Vx/NullReferenceException.h"

namespace Vx {

NullReferenceException::~NullReferenceException() = default;

}  // namespace Vx
