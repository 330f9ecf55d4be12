#include "Larkspan/Common/IO/CRC32.h"

#include "Larkspan/Common/IO/Codec.h"

namespace Larkspan::Common::IO {

void CRC32::Update(const char* data, unsigned int size) noexcept {
  value = data == nullptr ? 0 : Codec::AddToCRC32(value, data, size);
}

}  // namespace Larkspan::Common::IO
