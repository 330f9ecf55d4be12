#include "foundation/Vx/DataIntegrityException.h"

namespace Vx {

DataIntegrityException::~DataIntegrityException() = default;

}  // namespace Vx
