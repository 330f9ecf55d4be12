#pragma once

#include <utility>

#include "foundation/Vx/UniString.h"

namespace IO {

/// One name in the file system: a file's or a folder's, without its path. The text is not checked
/// here; a location refuses to take a name that can't be one.
///
/// A value like the text that it holds: copying throws `Vx::OutOfMemoryException`.
class Name final {
 public:
  Name() noexcept = default;
  explicit Name(Vx::UniString name) noexcept : text(std::move(name)) {}

  /// The text, to be read and extended.
  [[nodiscard]] const Vx::UniString& GetText() const noexcept { return text; }
  [[nodiscard]] Vx::UniString& GetText() noexcept { return text; }
  operator const Vx::UniString&() const noexcept { return text; }

  [[nodiscard]] bool IsEmpty() const noexcept { return text.IsEmpty(); }

  friend bool operator==(const Name&, const Name&) noexcept = default;

 private:
  Vx::UniString text;
};

}  // namespace IO
