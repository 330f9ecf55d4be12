#include "foundation/Vx/IOException.h"

namespace Vx {

IOException::~IOException() = default;

}  // namespace Vx
