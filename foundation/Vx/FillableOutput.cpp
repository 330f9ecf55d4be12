#include "foundation/Vx/FillableOutput.h"

namespace Vx {

FillableOutput* FillableOutput::Find(OBinaryChannel& channel) noexcept {
  return dynamic_cast<FillableOutput*>(&channel);
}

}  // namespace Vx
