#pragma once

#include <array>
#include <cstddef>

#include "foundation/Export.h"
#include "foundation/IO/Folder.h"
#include "foundation/IO/Location.h"
#include "foundation/IO/Status.h"

namespace IO {

/// The folders below one that is opened once and held open. None of them is reached through a
/// symbolic link, whatever another process puts there meanwhile: nothing that is made through this
/// object comes to stand outside.
///
/// The folder that was entered last stays open, and so do those above it that were entered before
/// (16 folders at the most): who goes through a tree in order never walks far, however deep it is.
/// Everything reports by status, and nothing throws. One thread at a time.
class FOUNDATION_API FolderTree final {
 public:
  enum class Missing : int { Fail, Make };

  /// Opens the folder, to which links may lead.
  explicit FolderTree(const Location& root) noexcept;
  FolderTree(const FolderTree&) = delete;
  FolderTree& operator=(const FolderTree&) = delete;
  ~FolderTree();

  /// 0 if the folder is there.
  [[nodiscard]] int GetStatus() const noexcept {
    return rootLocation.IsValid() ? root.GetStatus() : rootLocation.GetStatus();
  }
  [[nodiscard]] const Location& GetLocation() const noexcept { return rootLocation; }

  /// Opens the folder at `location`, which is the root or lies below it. `folder` points to it
  /// until the next call. `StatusLinkOnTheWay` if a symbolic link stands on the way or is what has
  /// the name; `StatusNotAFolder` for anything else that is not a folder.
  [[nodiscard]] int Enter(const Location& location, Missing missing, Folder** folder) noexcept;

 private:
  struct Level {
    Location location;
    Folder folder;
  };
  static constexpr std::size_t MaxLevels = 16;

  [[nodiscard]] Level* FindNearest(const Location& location) noexcept;

  const Location rootLocation;
  Folder root;
  // Each lies below the one before.
  std::array<Level, MaxLevels> levels;
  std::size_t levelCount = 0;
};

}  // namespace IO
