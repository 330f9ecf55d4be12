#pragma once

#include <string_view>

#include "foundation/Export.h"
#include "foundation/IO/AccessDeniedTreatment.h"
#include "foundation/IO/Attributes.h"
#include "foundation/IO/DataSafety.h"
#include "foundation/IO/EntryType.h"
#include "foundation/IO/Location.h"
#include "foundation/IO/Name.h"
#include "foundation/IO/Status.h"
#include "foundation/Vx/String.h"

namespace IO {

/// Queries and changes of items in the file system. Everything reports by status and nothing
/// throws. The class has no state: it serves any number of threads, and static initialisation too.
class FOUNDATION_API FileSystem final {
 public:
  constexpr FileSystem() noexcept = default;

  /// Whether anything is there; a symbolic link counts, wherever it leads.
  [[nodiscard]] int Contains(const Location& location, bool* found) const noexcept;

  /// What is there, with symbolic links followed. `EntryType::SymbolicLink` is a link that leads
  /// nowhere.
  [[nodiscard]] int GetType(const Location& location, EntryType* type) const noexcept;

  /// Makes the folder and all missing levels above it. 0 for a folder that exists; a failure
  /// leaves what was made.
  [[nodiscard]] int CreateFolderTree(const Location& location) const noexcept;

  /// Removes a file, a symbolic link itself, or an empty folder.
  // NOLINTNEXTLINE(modernize-use-nodiscard): who tidies up goes on whether it is gone or not.
  int Delete(const Location& location, DataSafety safety,
             AccessDeniedTreatment treatment) const noexcept;

  /// Renames an item within its folder, durably. Never replaces: if the name is taken, or on any
  /// other failure, everything is as it was.
  [[nodiscard]] int Rename(const Location& location, const Name& name,
                           AccessDeniedTreatment treatment) const noexcept;

  /// Renames a file within its folder in one step, and replaces the file that had the name. At
  /// every moment one of the two is complete under that name. Nothing is synced: flush the file
  /// before, and the folder afterwards.
  [[nodiscard]] int Replace(const Location& location, const Name& name,
                            AccessDeniedTreatment treatment) const noexcept;

  [[nodiscard]] int GetAttributes(const Location& location, Attributes* attributes,
                                  bool followLinks) const noexcept;

  /// What a symbolic link holds, as the platform has it; `StatusInvalidArgument` for anything else.
  [[nodiscard]] int ReadLink(const Location& location, Vx::String& target) const noexcept;

  /// Where the item really is: `resolved` leads to it without any symbolic link.
  [[nodiscard]] int Resolve(const Location& location, Location& resolved) const noexcept;

  [[nodiscard]] int GetCurrentFolder(Location& location) const noexcept;

  /// A location from a path as the platform writes it, such as an argument of a command line. A
  /// relative path counts from the current folder.
  [[nodiscard]] int FromNativePath(std::string_view native, Location& location) const noexcept;
  /// A path as the platform writes it.
  [[nodiscard]] int ToNativePath(const Location& location, Vx::String& native) const noexcept;
};

/// The file system. Stateless, and there before any constructor of a static object runs.
inline constexpr FileSystem fileSystem{};

}  // namespace IO
