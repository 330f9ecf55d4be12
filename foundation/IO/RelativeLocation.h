#pragma once

#include "foundation/Export.h"
#include "foundation/IO/Name.h"
#include "foundation/Vx/UniString.h"

namespace IO {

/// A path below some folder: a row of names.
///
/// A value. The constructor from a text takes U+005C and U+002F as separators, counts repeated
/// ones as one and drops a trailing one; it drops `.`, and `..` takes the name before it away. The
/// result is invalid if the text begins with a separator, holds U+0000, or has a `..` without a
/// name before it: a relative location never leads above the folder that it is appended to.
///
/// Nothing here throws: where memory runs out, in copying too, the object is invalid and says so
/// by its status.
class FOUNDATION_API RelativeLocation final {
 public:
  RelativeLocation() noexcept = default;
  explicit RelativeLocation(Vx::UniString::View text) noexcept;
  RelativeLocation(const RelativeLocation& source) noexcept;
  RelativeLocation(RelativeLocation&& source) noexcept;
  RelativeLocation& operator=(const RelativeLocation& source) noexcept;
  RelativeLocation& operator=(RelativeLocation&& source) noexcept;
  ~RelativeLocation();

  [[nodiscard]] bool IsValid() const noexcept { return status == 0; }
  [[nodiscard]] bool IsEmpty() const noexcept { return path.IsEmpty(); }
  /// 0 for a valid object.
  [[nodiscard]] int GetStatus() const noexcept { return status; }

  /// The number of names.
  [[nodiscard]] unsigned int GetLength() const noexcept;
  /// The name at `index`. Fails past the last one and leaves `name` as it was.
  [[nodiscard]] int GetName(unsigned int index, Name& name) const noexcept;

  /// The names, with U+005C between them. Valid until the object changes.
  [[nodiscard]] Vx::UniString::View GetPath() const noexcept { return path.GetView(); }

  friend bool operator==(const RelativeLocation&, const RelativeLocation&) noexcept = default;

 private:
  Vx::UniString path;
  int status = 0;
};

}  // namespace IO
