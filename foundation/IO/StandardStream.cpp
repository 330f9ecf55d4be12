#include "foundation/IO/StandardStream.h"

#include "foundation/IO/posix/Descriptor.h"

namespace IO {

bool IsTerminal(StandardStream stream) noexcept {
  return Posix::IsTerminal(static_cast<int>(stream));
}

}  // namespace IO
