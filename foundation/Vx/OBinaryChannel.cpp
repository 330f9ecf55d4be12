#include "foundation/Vx/OBinaryChannel.h"

#include <limits>

namespace Vx {

void OBinaryChannel::Write(std::string_view data) {
  do {
    const std::string_view part = data.substr(0, std::numeric_limits<unsigned int>::max());
    Write(part.data(), static_cast<unsigned int>(part.size()));
    data.remove_prefix(part.size());
  } while (!data.empty());
}

OBinaryChannel::~OBinaryChannel() = default;

}  // namespace Vx
