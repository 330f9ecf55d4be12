#pragma once

namespace IO {

/// Whether a file or folder that is not there makes its object's status a failure.
enum class OnNotFound : int {
  Fail = 0,
  Ignore = 1,
};

}  // namespace IO
