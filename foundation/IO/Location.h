#pragma once

#include "foundation/Export.h"
#include "foundation/IO/Name.h"
#include "foundation/IO/RelativeLocation.h"
#include "foundation/Vx/UniString.h"

namespace IO {

/// An absolute path in the file system: a root and the local part, a row of names below it.
///
/// A value, and a text only: no operation looks at the file system. The root is `\` or, with a
/// drive, `C:\`. Locations with a drive can be worked on everywhere; where the platform has no
/// drives, nothing is there.
///
/// Nothing here throws. An object that could not be made what it should be, because the text was
/// not an absolute path or because memory ran out (in copying too), is invalid and keeps the reason
/// as its status.
class FOUNDATION_API Location final {
 public:
  /// An empty location, which is valid.
  Location() noexcept = default;
  /// As `Set`.
  explicit Location(Vx::UniString::View text) noexcept;
  Location(const Location& source) noexcept;
  Location(Location&& source) noexcept;
  Location& operator=(const Location& source) noexcept;
  Location& operator=(Location&& source) noexcept;
  ~Location();

  /// Takes a path text: U+005C or U+002F separates; repeated separators count as one, a trailing
  /// one is dropped; `.` is dropped, `..` takes the name before it away. An empty text makes the
  /// location empty. A text that is not an absolute path, leads above the root or holds U+0000
  /// leaves the location invalid. Returns the new status.
  int Set(Vx::UniString::View text) noexcept;

  /// The path text, with U+005C as separator. Fails for an invalid location; an empty one has an
  /// empty text. `Set` takes it back to an equal location.
  [[nodiscard]] int ToPath(Vx::UniString& text) const noexcept;
  /// The same text where it lies. Empty for an invalid location; valid until the object changes.
  [[nodiscard]] Vx::UniString::View GetPath() const noexcept { return path.GetView(); }

  [[nodiscard]] bool IsValid() const noexcept { return status == 0; }
  [[nodiscard]] bool IsEmpty() const noexcept { return path.IsEmpty(); }
  /// The error state: 0 for a sound location.
  [[nodiscard]] int GetStatus() const noexcept { return status; }

  /// Whether the local part is empty: the location is a root.
  [[nodiscard]] bool IsRoot() const noexcept;
  /// Whether the location lies below `folder`, at any depth. No location lies below itself.
  [[nodiscard]] bool IsBelow(const Location& folder) const noexcept;

  /// The number of names in the local part.
  [[nodiscard]] unsigned int GetLocalLength() const noexcept;
  /// The last name. Fails where there is none and leaves `name` as it was.
  [[nodiscard]] int GetLastLocalName(Name& name) const noexcept;
  /// Takes the last name away. Fails where there is none.
  [[nodiscard]] int DeleteLastLocalName() noexcept;

  /// The folder that the location lies in. Invalid where the location has no name or is invalid.
  [[nodiscard]] Location GetParent() const noexcept;
  /// The folder that the location lies in, and the last name. Fails as `GetLastLocalName` and then
  /// leaves both as they were.
  [[nodiscard]] int Split(Location& folder, Name& name) const noexcept;
  /// The location beside this one that has `suffix` appended to its last name. Invalid where there
  /// is no name, or the suffix could not be a name itself.
  [[nodiscard]] Location GetSibling(Vx::UniString::View suffix) const noexcept;

  /// Goes down by one name. Fails, and changes nothing, for a name that is empty, `.` or `..`, or
  /// holds a separator or U+0000, and for a location that is invalid or empty. Running out of
  /// memory becomes the location's status.
  [[nodiscard]] int AppendToLocal(const Name& name) noexcept;
  /// Goes down by any number of names. Fails, and changes nothing, for an invalid relative
  /// location and for a location that is invalid or empty; memory as above.
  [[nodiscard]] int AppendToLocal(const RelativeLocation& relative) noexcept;

  /// Two locations are equal if their texts and states are.
  friend bool operator==(const Location&, const Location&) noexcept = default;

 private:
  int Fail(int reason) noexcept;
  int AppendText(Vx::UniString::View text) noexcept;
  [[nodiscard]] unsigned int GetRootLength() const noexcept;

  Vx::UniString path;
  int status = 0;
};

}  // namespace IO
