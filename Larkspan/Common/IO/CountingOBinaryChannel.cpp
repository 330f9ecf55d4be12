#include "Larkspan/Common/IO/CountingOBinaryChannel.h"

namespace Larkspan::Common::IO {

CountingOBinaryChannel::CountingOBinaryChannel(Vx::OBinaryChannel& channel) noexcept
    : DigestOBinaryChannel(channel) {}

CountingOBinaryChannel::CountingOBinaryChannel(const Vx::OBinaryChannelRef& channel)
    : DigestOBinaryChannel(channel) {}

CountingOBinaryChannel::~CountingOBinaryChannel() = default;

}  // namespace Larkspan::Common::IO
