#include "foundation/Vx/Object.h"

namespace Vx {

Object::~Object() = default;

}  // namespace Vx
