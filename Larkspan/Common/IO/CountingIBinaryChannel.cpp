#include "Larkspan/Common/IO/CountingIBinaryChannel.h"

namespace Larkspan::Common::IO {

CountingIBinaryChannel::CountingIBinaryChannel(Vx::IBinaryChannel& channel) noexcept
    : DigestIBinaryChannel(channel) {}

CountingIBinaryChannel::CountingIBinaryChannel(
    const Vx::Ref<Vx::IBinaryChannel, Vx::AtomicCounter>& channel)
    : DigestIBinaryChannel(channel) {}

CountingIBinaryChannel::~CountingIBinaryChannel() = default;

}  // namespace Larkspan::Common::IO
