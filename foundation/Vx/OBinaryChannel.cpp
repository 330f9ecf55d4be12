#include "foundation/Vx/OBinaryChannel.h"

namespace Vx {

OBinaryChannel::~OBinaryChannel() = default;

}  // namespace Vx
