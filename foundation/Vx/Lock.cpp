#include "foundation/Vx/Lock.h"

namespace Vx {

Lock::~Lock() = default;

}  // namespace Vx
