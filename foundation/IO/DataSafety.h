#pragma once

namespace IO {

/// What becomes of the data of a deleted file.
enum class DataSafety : int {
  None = 0,  // its space is freed as it is
};

}  // namespace IO
