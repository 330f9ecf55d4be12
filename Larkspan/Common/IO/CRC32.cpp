#include "Larkspan/Common/IO/CRC32.h"

#include <zlib.h>

namespace Larkspan::Common::IO {

void CRC32::Update(const char* data, unsigned int size) noexcept {
  value = static_cast<unsigned int>(crc32(value, reinterpret_cast<const Bytef*>(data), size));
}

}  // namespace Larkspan::Common::IO
