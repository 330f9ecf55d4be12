#include "foundation/Vx/PeekableInput.h"

namespace Vx {

PeekableInput* PeekableInput::Find(IBinaryChannel& channel) noexcept {
  auto* const input = dynamic_cast<PeekableInput*>(&channel);
  return input != nullptr && input->GetPeekSize() != 0 ? input : nullptr;
}

}  // namespace Vx
