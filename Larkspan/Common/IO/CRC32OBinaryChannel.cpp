#include "Larkspan/Common/IO/CRC32OBinaryChannel.h"

namespace Larkspan::Common::IO {

CRC32OBinaryChannel::CRC32OBinaryChannel(Vx::OBinaryChannel& channel) noexcept
    : DigestOBinaryChannel(channel) {}

CRC32OBinaryChannel::CRC32OBinaryChannel(const Vx::OBinaryChannelRef& channel)
    : DigestOBinaryChannel(channel) {}

CRC32OBinaryChannel::~CRC32OBinaryChannel() = default;

}  // namespace Larkspan::Common::IO
