#pragma once

namespace IO {

/// What happens where the system denies access.
enum class AccessDeniedTreatment : int {
  Report = 2,  // the operation fails; permissions are never changed to make it succeed
};

}  // namespace IO
