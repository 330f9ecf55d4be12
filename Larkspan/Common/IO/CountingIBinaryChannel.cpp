#include "Larkspan/Common/IO/CountingIBinaryChannel.h"

namespace Larkspan::Common::IO {

CountingIBinaryChannel::CountingIBinaryChannel(Vx::IBinaryChannel& channel) noexcept
    : DigestIBinaryChannel(channel) {}

CountingIBinaryChannel::CountingIBinaryChannel(const Vx::IBinaryChannelRef& channel)
    : DigestIBinaryChannel(channel) {}

CountingIBinaryChannel::~CountingIBinaryChannel() = default;

}  // namespace Larkspan::Common::IO
