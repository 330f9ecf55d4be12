#include "Larkspan/Common/IO/CRC32IBinaryChannel.h"

namespace Larkspan::Common::IO {

CRC32IBinaryChannel::CRC32IBinaryChannel(Vx::IBinaryChannel& channel) noexcept
    : DigestIBinaryChannel(channel) {}

CRC32IBinaryChannel::CRC32IBinaryChannel(const Vx::IBinaryChannelRef& channel)
    : DigestIBinaryChannel(channel) {}

CRC32IBinaryChannel::~CRC32IBinaryChannel() = default;

}  // namespace Larkspan::Common::IO
