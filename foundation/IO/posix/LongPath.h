#pragma once

#include "foundation/IO/posix/Descriptor.h"
#include "foundation/Vx/String.h"

namespace IO::Posix {

/// A path for calls that take a folder and a path. The system takes no path of 4096 bytes or more
/// in one call: of a longer one, the folders on the way are opened, and what is left is short.
class LongPath final {
 public:
  /// `path` outlives the object.
  explicit LongPath(const Vx::String& path) noexcept;

  /// A value of `errno` if a folder on the way can't be opened.
  [[nodiscard]] int GetError() const noexcept { return error; }
  [[nodiscard]] int GetFolder() const noexcept { return current; }
  [[nodiscard]] const char* GetPath() const noexcept { return left->GetBuffer(); }

 private:
  int Walk(const Vx::String& path);

  Descriptor folder;
  Vx::String rest;
  const Vx::String* left;
  int current;
  int error = 0;
};

}  // namespace IO::Posix
