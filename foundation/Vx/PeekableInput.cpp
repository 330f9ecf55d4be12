#include "foundation/Vx/PeekableInput.h"

namespace Vx {

PeekableInput* PeekableInput::Find(IBinaryChannel& channel) noexcept {
  auto* const face = dynamic_cast<PeekableInput*>(&channel);
  return face != nullptr && face->GetPeekSize() != 0 ? face : nullptr;
}

}  // namespace Vx
