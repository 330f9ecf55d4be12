#include "foundation/Vx/SkippableInput.h"

namespace Vx {

SkippableInput* SkippableInput::Find(IBinaryChannel& channel) noexcept {
  auto* const face = dynamic_cast<SkippableInput*>(&channel);
  return face != nullptr && face->CanSkip() ? face : nullptr;
}

}  // namespace Vx
