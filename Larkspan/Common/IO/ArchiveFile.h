#pragma once

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/ArchiveEnd.h"
#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "foundation/IO/Location.h"
#include "foundation/Vx/ConstRandomContainerIterator.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/PagedArray.h"

namespace Larkspan::Common::IO {

class ArchiveIBinaryChannel;

/// An archive in a file: its headers and entries in any order, the data of single entries,
/// extraction of all, and changes to the headers.
///
/// A cache over `ArchiveIBinaryChannel`. No file is open between operations. The headers are read
/// by the first question about them; the entries by the first question about them, which reads,
/// decompresses and verifies the whole archive and fails if any entry is damaged. Queries fill
/// that cache, so one thread at a time may use an object, const or not. If the file changes after
/// that, the object does not notice.
///
/// Of entries with equal names, `GetEntryCount` and `EnumerateEntries` show all, and
/// `ConstainsEntry`, `GetEntry` and `GetInputChannel` know the last one in the file.
///
/// Failures: `Vx::IllegalArgumentException` for an empty name, before anything else is looked at;
/// `ArchiveException` after `Close` and for a damaged archive; `FileNotFoundException` and
/// `Vx::IOException` for the file.
class LARKSPAN_API ArchiveFile final {
 public:
  using EntryRef = Vx::Ref<ArchiveEntry, Vx::Counter>;
  using EntryList = Vx::PagedArray<EntryRef>;
  using EntryIterator = Vx::ConstRandomContainerIterator<EntryList>;
  /// Throws `Vx::IllegalArgumentException` for a location that is not valid or empty, and
  /// `ArchiveException` if the file is not there. The file is not read.
  explicit ArchiveFile(const ::IO::Location& archiveLocation);
  ArchiveFile(const ArchiveFile&) = delete;
  ArchiveFile& operator=(const ArchiveFile&) = delete;
  /// Saves nothing: changes without `Update` are lost.
  ~ArchiveFile();

  [[nodiscard]] bool IsOpen() const noexcept { return !closed; }
  /// Ends all questions and changes. Entries and channels that were given out live on.
  void Close() noexcept { closed = true; }
  [[nodiscard]] const ::IO::Location& GetLocation() const noexcept { return location; }

  /// The bytes that the file reserves for its header, 0 for none. After an `Update` that
  /// rewrote the file, that of the new file.
  [[nodiscard]] unsigned int GetReservedHeaderSize() const;
  [[nodiscard]] unsigned int GetHeaderCount() const;
  [[nodiscard]] bool HasHeaders() const;
  [[nodiscard]] ArchiveHeaderIterator EnumerateHeaders() const;
  [[nodiscard]] bool ConstainsHeader(const Vx::UniString& name) const;
  bool GetHeader(const Vx::UniString& name, Vx::UniString& value) const;
  [[nodiscard]] Vx::UniString GetHeader(const Vx::UniString& name) const;

  /// Changes in memory; `Update` writes them to the file.
  void PutHeader(const Vx::UniString& name, const Vx::UniString& value);
  void ClearHeader(const Vx::UniString& name);
  void ClearHeaders();
  /// Whether any of the three ran. `Update` does not reset it.
  [[nodiscard]] bool IsUpdated() const;

  [[nodiscard]] bool HasEntries();
  [[nodiscard]] unsigned int GetEntryCount() const;
  /// All entries, closed and verified, in file order:
  /// `for (const auto& entry : file.EnumerateEntries())`. This object must outlive the iterator.
  [[nodiscard]] EntryIterator EnumerateEntries() const;
  [[nodiscard]] bool ConstainsEntry(const Vx::UniString& name) const;
  /// Empty if there is no such entry.
  [[nodiscard]] EntryRef GetEntry(const Vx::UniString& name) const;

  /// Whether the file ends behind its last footer or its seal, and what the seal and the check of
  /// the header say. All other queries, and `ExtractTo`, take whatever stands behind the last
  /// footer for the end, as the format has it, so that damage in the name of an entry hides that
  /// entry and all behind it from them: who needs all entries asks here. Costs nothing once the
  /// entries have been read, and else one pass that decodes and verifies nothing and seeks over the
  /// data, linear in the number of entries and frames. Throws `ArchiveException` and
  /// `Vx::EndOfInputException` where that pass can't find the end.
  [[nodiscard]] ArchiveEnd GetEnd() const;

  /// The plain data of `entry`, which must come from this object and be the last of its name. The
  /// channel owns a file and a reader of its own and may outlive this object. Opening it reads all
  /// entries before this one. Its `Close`, which the destructor calls too, reads this one to its
  /// end without verifying it again. Throws `Vx::IllegalArgumentException` for an empty reference
  /// and `ArchiveException` for any other entry.
  [[nodiscard]] Vx::IBinaryChannelRef GetInputChannel(const EntryRef& entry) const;

  /// Writes all entries as files below `folder`, which is made if missing; files that are there are
  /// replaced. Works on a closed object too, and looks at the file only.
  ///
  /// A name is refused that leads out of the folder, through a symbolic link below it, to the
  /// archive itself, or to a device or pipe; nobody else may change the folder meanwhile. Each
  /// entry is verified after its file is complete; on failure all files so far stay. Whether these
  /// are all entries that were written, `GetEnd` tells. Throws
  /// `Vx::IllegalArgumentException` for the folder's location, `ArchiveException` if the folder
  /// can't be made, and else `Vx::IOException` with the reason as cause.
  void ExtractTo(const ::IO::Location& folder) const;

  /// Writes changed headers to the file. If they fit the size reserved for them, the first bytes
  /// of the file are replaced, at a cost that does not depend on its size; a process killed on the
  /// way leaves old or new headers if that size is at most 4096 bytes. Otherwise the archive is
  /// copied to a file beside it (its name and ".updated"; a file that has that name is removed),
  /// and the two swap names: whatever happens, a complete archive stands under the name. The file
  /// that a symbolic link leads to is rewritten where it is. Throws `ArchiveException` and the
  /// failures of the channels; the file is then as it was, unless writing in place failed.
  void Update();
  /// Whether `Update` would copy the archive, as far as this object knows the file.
  [[nodiscard]] bool NeedsRewrite() const;
  /// Where that copy would be made: beside the archive, or beside the file that it is a link to.
  [[nodiscard]] ::IO::Location GetRewriteLocation() const;

 private:
  void CheckOpened(const char* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) const;
  // These check, read what has not been read, and return the cache.
  [[nodiscard]] const ArchiveHeaders& GetHeaders(const char* file = __builtin_FILE(),
                                                 unsigned int line = __builtin_LINE()) const;
  [[nodiscard]] const EntryList& GetEntries(const char* file = __builtin_FILE(),
                                            unsigned int line = __builtin_LINE()) const;
  void TakeHeaders(const ArchiveIBinaryChannel& channel);
  void ReadHeaders();
  // These fill the cache on behalf of the const queries.
  void ReadHeaders() const;
  void ReadEntries();
  void ReadEntries() const;
  void ReadEnd();

  const ::IO::Location location;
  unsigned int reservedHeaderSize = 0;
  ArchiveHeaders headers;
  bool headersRead = false;
  bool headersChanged = false;
  Vx::HashTable<Vx::UniString, EntryRef> entryIndex;
  EntryList entryList;
  bool entriesRead = false;
  ArchiveEnd end;
  bool endRead = false;
  bool closed = false;
};

}  // namespace Larkspan::Common::IO
