#pragma once

#include "foundation/Export.h"
#include "foundation/IO/File.h"
#include "foundation/IO/Folder.h"
#include "foundation/IO/Name.h"
#include "foundation/Vx/String.h"

namespace IO {

/// A new file that gets its name when it is complete. Until then it has none where the file system
/// can do that, and elsewhere a temporary one that begins with `.larkspan-`; a process that dies
/// leaves such a file behind, and the next one that makes a file in the folder removes it.
///
/// Everything reports by status, and nothing throws. One thread at a time.
class FOUNDATION_API NewFile final {
 public:
  /// Whether a file that has the name already is replaced, or a failure.
  enum class Naming : int { IfFree, Replacing };
  /// Whether anybody but the owner may open the file before its mode is set.
  enum class Access : int { Ordinary, Private };

  /// Makes the file in the folder, which must outlive this object.
  NewFile(const Folder& folder, Access access) noexcept;
  /// The same with the permissions `mode`, less what the process masks out; perhaps fewer, where a
  /// temporary name shows the file to others.
  NewFile(const Folder& folder, unsigned int mode) noexcept;
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  /// Removes the file unless it is complete.
  ~NewFile();

  /// 0 if the file could be made.
  [[nodiscard]] int GetStatus() const noexcept { return status; }
  /// The file, open for reading and writing.
  [[nodiscard]] File& GetFile() noexcept { return file; }

  /// Gives the file its name. `StatusAlreadyExists` if that is taken and nothing is to be replaced;
  /// a symbolic link of that name is replaced itself. Nothing is synced: flush the file before, and
  /// the folder afterwards.
  [[nodiscard]] int Complete(const Name& name, Naming naming) noexcept;

  /// Gives the file up unless it is complete: it is closed, and nothing of it stays.
  void Drop() noexcept;

  /// Whether a name is one of the temporary ones.
  [[nodiscard]] static bool IsTemporary(const Name& name) noexcept;

 private:
  const Folder& parent;
  Vx::String temporaryName;  // empty if the file has none
  int status = 0;
  File file;
  bool complete = false;
};

}  // namespace IO
