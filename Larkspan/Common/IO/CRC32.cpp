#include "Larkspan/Common/IO/CRC32.h"

#include <limits>

#include "Larkspan/Common/IO/Codec.h"

namespace Larkspan::Common::IO {

void CRC32::Update(const char* data, unsigned int size) noexcept {
  value = data == nullptr ? 0 : Codec::AddToCRC32(value, data, size);
}

void CRC32::Update(std::string_view data) noexcept {
  while (!data.empty()) {
    const std::string_view part = data.substr(0, std::numeric_limits<unsigned int>::max());
    Update(part.data(), static_cast<unsigned int>(part.size()));
    data.remove_prefix(part.size());
  }
}

}  // namespace Larkspan::Common::IO
