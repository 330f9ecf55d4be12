#include "foundation/Vx/PeekableInput.h"

namespace Vx {

PeekableInput* PeekableInput::Find(IBinaryChannel& channel) noexcept {
  auto* const face = dynamic_cast<PeekableInput*>(&channel);
  return face != nullptr && face->CanPeek() ? face : nullptr;
}

}  // namespace Vx
