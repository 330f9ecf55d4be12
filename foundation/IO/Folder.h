#pragma once

#include <vector>

#include "foundation/Export.h"
#include "foundation/IO/AccessDeniedTreatment.h"
#include "foundation/IO/Attributes.h"
#include "foundation/IO/Location.h"
#include "foundation/IO/Name.h"
#include "foundation/IO/OnNotFound.h"
#include "foundation/IO/Status.h"
#include "foundation/Vx/Allocator.h"
#include "foundation/Vx/UniString.h"

namespace IO {

class File;

/// A folder, held while the object lives: its operations meet the same folder, whatever becomes of
/// its name. All of them report by status, and none throws. One thread at a time.
class FOUNDATION_API Folder final {
 public:
  using Names = std::vector<Vx::UniString, Vx::Allocator<Vx::UniString>>;

  Folder(const Location& location, OnNotFound onNotFound) noexcept;
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  Folder(Folder&& source) noexcept;
  Folder& operator=(Folder&& source) noexcept;
  ~Folder();

  /// 0 if the folder is there, or if it is missing and that is ignored.
  [[nodiscard]] int GetStatus() const noexcept { return status; }

  /// Two files of the folder swap their names, durably. On failure both are under their own names.
  /// Whatever happens on the way, a kill or a power cut included, a complete file stands under
  /// `first` at all times.
  ///
  /// Where the file system can't swap names in one step, a kill can leave a file with a name that
  /// begins with `.exchange-` behind; the next exchange in the folder, or `RemoveLeftovers`,
  /// removes it.
  [[nodiscard]] int Exchange(const Name& first, const Name& second,
                             AccessDeniedTreatment treatment) noexcept;
  /// Removes what exchanges in processes that died have left behind, as far as that can be done.
  /// Whoever is alive holds a lock on the first file; a lock that `locked` has is the caller's own.
  void RemoveLeftovers(const File& locked) noexcept;

  /// What stands under the name. Like all that follows, it doesn't follow a symbolic link.
  [[nodiscard]] int GetAttributes(const Name& name, Attributes* attributes) const noexcept;
  /// Sets mode and time of modification of a folder of this folder.
  [[nodiscard]] int SetFolderAttributes(const Name& name,
                                        const Attributes& attributes) const noexcept;
  /// Sets the time of modification of any item, and owner and group, of a symbolic link those of
  /// the link itself. `SetOwner` may take permissions away: set the mode afterwards.
  [[nodiscard]] int SetTime(const Name& name, const Attributes& attributes) const noexcept;
  [[nodiscard]] int SetOwner(const Name& name, const Attributes& attributes) const noexcept;
  /// Whether a link takes the place of a file or link that has its name, or fails with
  /// `StatusAlreadyExists`. A folder is never replaced.
  enum class Naming : int { IfFree, Replacing };
  /// Makes a symbolic link that holds `target`, bytes as the platform has them without a zero.
  [[nodiscard]] int MakeSymbolicLink(const Name& name, const Vx::String& target,
                                     Naming naming = Naming::IfFree) const noexcept;
  /// Gives the file `from` of `source` a further name here.
  [[nodiscard]] int MakeHardLink(const Name& name, const Folder& source, const Name& from,
                                 Naming naming = Naming::IfFree) const noexcept;
  /// Makes a folder. 0 for one that exists.
  [[nodiscard]] int MakeFolder(const Name& name) const noexcept;
  /// Removes a file, a symbolic link itself, or an empty folder.
  [[nodiscard]] int Delete(const Name& name) const noexcept;

  /// The names of all items of the folder, in no order, replacing what `names` holds.
  [[nodiscard]] int GetNames(Names& names) const noexcept;

  /// Makes names that were made, changed or removed durable. 0, with nothing done, for a folder
  /// that may be changed but not listed (mode 0300): nobody can sync that.
  [[nodiscard]] int Flush() noexcept;

 private:
  friend class File;
  friend class FolderTree;
  friend class NewFile;

  Folder() noexcept = default;
  template <class Work>
  int OnName(const Name& name, Work&& work) const noexcept;
  template <class Make>
  int PutLink(const Name& name, Naming naming, Make&& make) const noexcept;

  int status = 0;
  int descriptor = -1;
};

}  // namespace IO
