#pragma once

namespace IO {

/// What the offset of a seek counts from.
enum class SeekOrigin : int {
  Begin = 0,
  Current = 1,
  End = 2,
};

}  // namespace IO
