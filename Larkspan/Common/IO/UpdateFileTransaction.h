#pragma once

#include <memory>

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/FileTransaction.h"
#include "foundation/IO/File.h"
#include "foundation/IO/Location.h"

namespace Larkspan::Common::IO {

/// The replacement of a file. The constructor gives the old file the name of its backup, which is
/// its own name and ".bak", in the same folder; the host writes the new one; `Commit` deletes the
/// backup, and `Abort` deletes the new file and gives the old one its name back. The name of the
/// backup belongs to these transactions: nothing else should have it.
///
/// Whatever happens on the way, a kill or a power cut included, the old file is complete under its
/// own name or its backup's, or the new one is complete and durable. A host that starts after a
/// crash, or goes on after an `Abort` that failed, calls `Recover` before it looks at the file or
/// begins another transaction on it; the constructor refuses to begin one where it finds a backup.
/// Where there was no old file, there is nothing to go back to: a crash leaves of the new one what
/// was written.
///
/// While the transaction is open it holds the lock on the old file (`IO::File::Lock`), which tells
/// its backup from one that is left over. There is no such lock where the file system has none, on
/// a file that this process may neither read nor write, and if the host holds the lock itself.
///
/// In a folder that may be changed but not listed all of this works, but names are as durable as
/// the system makes them by itself: nobody can sync such a folder.
///
/// While the transaction is open, nothing stands under the file's name but what the host puts
/// there: others who read the file have to wait. The new file has the mode and the owner with which
/// the host makes it, whatever those of the old one. A symbolic link at the location is moved and
/// replaced itself, not what it leads to.
class LARKSPAN_API UpdateFileTransaction final : public FileTransaction {
 public:
  /// Moves the file that stands at the location, if there is one, to its backup. Throws
  /// `Vx::IllegalArgumentException` for a location that is not valid or empty, and
  /// `FileTransactionException`, with everything as it was, if the backup can't be made: a file
  /// that has its name already is never replaced, and asks for `Recover` even if there is no other.
  explicit UpdateFileTransaction(const ::IO::Location& location);
  UpdateFileTransaction(const UpdateFileTransaction&) = delete;
  UpdateFileTransaction& operator=(const UpdateFileTransaction&) = delete;
  ~UpdateFileTransaction() override;

  [[nodiscard]] bool IsCommitted() const noexcept override { return committed; }
  [[nodiscard]] bool IsAborted() const noexcept override { return aborted; }

  /// Syncs the new file's data and name, and only then deletes the backup. That
  /// is so too where the host has made no new file: a commit then means that there is none. The
  /// host must have closed the file, or at least have written all of it to the system. A
  /// file that this process may neither read nor write is synced by the host, before it takes the
  /// permissions away. If either step fails, both files are still there. Systems tell only once
  /// that data did not reach the disk: after a sync that failed, `Commit` throws for good, and
  /// `Abort` is left.
  void Commit() override;

  /// A new file that can't be deleted, or a backup that can't get its name back, stays where it is.
  void Abort() override;

  /// Undoes an update of the file that a crash has left unfinished: what stands under the backup's
  /// name, if anything but a folder does, gets the file's name in one step, and replaces what
  /// stands there. Returns whether there was a backup. It can be interrupted and called again.
  ///
  /// Throws `Vx::IllegalArgumentException` for a location that is not valid or empty, and
  /// `FileTransactionException` if the backup can't be put back, or not synced, and, with nothing
  /// changed, while somebody holds the lock on it, as an open transaction does.
  static bool Recover(const ::IO::Location& location);

 private:
  void MoveToBackup();
  void SecureBackup();
  void PutOnDisk();
  void MoveBack();

  ::IO::Location backupFileLocation;  // empty if there was no file at the start
  ::IO::Location fileLocation;
  bool committed = false;
  bool aborted = false;
  bool syncFailed = false;
  std::unique_ptr<::IO::File> backupFile;  // the old file, to hold its lock
};

}  // namespace Larkspan::Common::IO
