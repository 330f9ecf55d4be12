#include "foundation/Vx/IChannel.h"

namespace Vx {

IChannel::~IChannel() = default;

}  // namespace Vx
