#include "foundation/Vx/OChannel.h"

namespace Vx {

OChannel::~OChannel() = default;

}  // namespace Vx
