#include "foundation/Vx/NoCauseException.h"

#include "foundation/Vx/Memory.h"

namespace Vx {

NoCauseException::NoCauseException() noexcept = default;
NoCauseException::~NoCauseException() = default;

const char* NoCauseException::GetName() const noexcept {
  return "NoCauseException";
}

VxException* NoCauseException::Clone() const {
  return New<NoCauseException>();
}

}  // namespace Vx
