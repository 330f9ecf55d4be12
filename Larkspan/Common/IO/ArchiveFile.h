#pragma once

#include <memory>

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/ArchiveEnd.h"
#include "Larkspan/Common/IO/ArchiveEntry.h"
#include "foundation/IO/Location.h"
#include "foundation/Vx/ConstRandomContainerIterator.h"
#include "foundation/Vx/IBinaryChannel.h"
#include "foundation/Vx/PagedArray.h"

namespace Larkspan::Common::IO {

class ArchiveFileReader;
class ArchiveIBinaryChannel;
class ArchiveLock;

/// An archive in a file: its headers and entries in any order, the data of single entries,
/// extraction of all, and changes to the headers.
///
/// A cache over `ArchiveIBinaryChannel`. No file is open between operations, except after
/// `LockForUpdate`. The headers are read
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
  /// Ends all questions and changes, and the lock. Entries and channels that were given out live
  /// on.
  void Close() noexcept;
  [[nodiscard]] const ::IO::Location& GetLocation() const noexcept { return location; }

  /// The bytes that the file reserves for its header, 0 for none. After an `Update` that
  /// rewrote the file, that of the new file.
  [[nodiscard]] unsigned int GetReservedHeaderSize() const;
  [[nodiscard]] unsigned int GetHeaderCount() const;
  [[nodiscard]] bool HasHeaders() const;
  [[nodiscard]] ArchiveHeaderIterator EnumerateHeaders() const&;
  /// The iterator would outlive the object.
  void EnumerateHeaders() const&& = delete;
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
  [[nodiscard]] EntryIterator EnumerateEntries() const&;
  /// The iterator would outlive the object.
  void EnumerateEntries() const&& = delete;
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
  /// The part of it that the header alone tells.
  [[nodiscard]] ArchiveEnd::HeaderCheck GetHeaderCheck() const;

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

  /// Begins a change that takes up what others have changed before: from now on, until `Close` or
  /// the end of this object, nobody else can change the archive, and the headers are read anew. Of
  /// two that each lock, put headers and update, both find their headers in the file, whatever the
  /// order. Does nothing if this object holds the lock already.
  ///
  /// Waits for others, but at most ten seconds. Throws `ArchiveException` if that was not enough,
  /// the file can't be opened or locked, or headers were changed already.
  void LockForUpdate();

  /// Writes changed headers to the file: all that this object holds, in place of all that the file
  /// has. If they fit the size reserved for them, the first bytes of the file are replaced, at a
  /// cost that depends on that size alone; a process killed on the way leaves old or new headers if
  /// it is at most 4096 bytes. Otherwise the archive is copied to a file beside it (its name and
  /// ".updated"), and the two swap names: whatever happens, a complete archive stands under the
  /// name. The file that a symbolic link leads to is rewritten where it is.
  ///
  /// Changes of one archive exclude each other by an exclusive lock (`flock`) on its file: an
  /// update waits for others at most ten seconds. A file called as the copy is removed: under the
  /// lock it can only be what a change left behind that was killed. Nothing else is locked; who
  /// reads meanwhile may find old headers or new ones, and while they are replaced in place, a part
  /// of each.
  ///
  /// A rewrite verifies every entry. What stands behind the last footer follows the new entries as
  /// it is, since damage in a name makes entries look like that. The seal of an archive whose
  /// header promises one is checked on the way and written anew; one that is wrong or missing fails
  /// the rewrite. The promise is the library's, whatever becomes of the header `seal`, and checks
  /// the headers as they are now: what `GetEnd` said of their check before, it says no more.
  ///
  /// On return the change is durable. Throws `ArchiveException` and the failures of the channels;
  /// the file is then as it was, unless writing in place failed, or the system failed to swap the
  /// names back after it could not make their swap durable: then it has the new headers. Changes
  /// stay in this object, and the lock of `LockForUpdate` stays, so that `Update` can be repeated.
  void Update();
  /// False if the last `Update` was a rewrite, and the system refused to give the new file the
  /// owner, the group or the permissions of the old one.
  [[nodiscard]] bool HasKeptOwner() const noexcept { return ownerKept; }
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
  void Update(ArchiveLock& held);
  void TakeHeaders(const ArchiveIBinaryChannel& channel);
  void ReadHeaders();
  // These fill the cache on behalf of the const queries.
  void ReadHeaders() const;
  void ReadEntries();
  void ReadEntries() const;
  void ReadEnd();

  // Opens the file, or reads the one that is locked.
  [[nodiscard]] ArchiveFileReader OpenReader() const;

  const ::IO::Location location;
  std::unique_ptr<ArchiveLock> lock;
  bool ownerKept = true;
  unsigned int reservedHeaderSize = 0;
  ArchiveEnd::HeaderCheck headerCheck = ArchiveEnd::HeaderCheck::None;
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
