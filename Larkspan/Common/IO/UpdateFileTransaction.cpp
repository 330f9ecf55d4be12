#include "Larkspan/Common/IO/UpdateFileTransaction.h"

#include <utility>

#include "Larkspan/Common/IO/FailureGuard.h"
#include "Larkspan/Common/IO/FileTransactionSteps.h"
#include "foundation/IO/File.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/IO/Folder.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/Memory.h"

namespace Larkspan::Common::IO {
namespace {

using ::IO::AccessDeniedTreatment;

// `status`: what the system refused on `location`.
[[noreturn]] void Fail(const char* message, const ::IO::Location& location, int status,
                       unsigned int line) {
  throw ::IO::WithDetail(FileTransactionException(message, __FILE__, line), location, status);
}

struct Backup {
  ::IO::Location location;
  ::IO::Name name;
};

// The location of a file's backup, whether or not anything is there.
Backup FindBackup(const ::IO::Location& file, const char* locationFailure,
                  const char* nameFailure) {
  if (file.GetLocalLength() == 0) Fail(nameFailure, file, ::IO::StatusInvalidLocation, __LINE__);
  Backup backup{file.GetSibling(u".bak"), {}};
  int status = backup.location.GetStatus();
  if (status != 0) Fail(locationFailure, file, status, __LINE__);
  status = backup.location.GetLastLocalName(backup.name);
  if (status != 0) Fail(nameFailure, file, status, __LINE__);
  return backup;
}

// Makes the names in the folder that a file lies in durable.
int FlushFolderOf(const ::IO::Location& file) noexcept {
  return ::IO::Folder(file.GetParent(), ::IO::OnNotFound::Fail).Flush();
}

// Opens what is a file, to sync or to lock it. `StatusAccessDenied` for one that may be neither
// read nor written; 0 with the file closed for what is no file, and has neither data nor a lock.
int OpenFile(const ::IO::Location& location, ::IO::File& file) noexcept {
  ::IO::EntryType type = ::IO::EntryType::Other;
  int status = ::IO::fileSystem.GetType(location, &type);
  if (status != 0 || type != ::IO::EntryType::File) return status;
  status = file.Open(::IO::OpenMode::Write, AccessDeniedTreatment::Report);
  if (status == ::IO::StatusAccessDenied) {  // the host may have made it a file to be read only
    status = file.Open(::IO::OpenMode::Read, AccessDeniedTreatment::Report);
  }
  return status;
}

// Whether a backup is there, and holds its lock. A folder is none. The name may be too long for
// the file system to have it at all.
bool HasBackup(const ::IO::Location& backup, const char* failure) {
  ::IO::Attributes found;
  const int status = ::IO::fileSystem.GetAttributes(backup, &found, false);
  if (status == 0) return found.type != ::IO::EntryType::Folder;
  if (status != ::IO::StatusNotFound && status != ::IO::StatusNotAFolder &&
      status != ::IO::StatusInvalidLocation) {
    Fail(failure, backup, status, __LINE__);
  }
  return false;
}

// Whether both are names of the very same file.
bool AreOneFile(const ::IO::Location& first, const ::IO::Location& second) noexcept {
  ::IO::Attributes one;
  ::IO::Attributes other;
  return ::IO::fileSystem.GetAttributes(first, &one, false) == 0 &&
         ::IO::fileSystem.GetAttributes(second, &other, false) == 0 && one.IsSameItem(other);
}

// Takes the lock that tells the backup of an open transaction from one that is left over. Gives
// false if the name has come to lead to something else meanwhile. What nobody can open, nobody can
// have locked.
bool LockLeftover(const ::IO::Location& backup, ::IO::File& file) {
  const int opened = OpenFile(backup, file);
  if (opened == ::IO::StatusNotFound || opened == ::IO::StatusFileNotFound) return false;
  if (!file.IsOpen()) return true;
  const int status = file.Lock(0);
  if (status == ::IO::StatusLocked) {
    Fail("Failed to recover update file transaction: update file transaction is still open.",
         backup, status, __LINE__);
  }
  ::IO::Attributes locked;
  ::IO::Attributes named;
  return file.GetAttributes(&locked) != 0 ||
         (::IO::fileSystem.GetAttributes(backup, &named, true) == 0 && named.IsSameItem(locked));
}

void Restore(const ::IO::Location& backup, const ::IO::Location& file) {
  ::IO::Name name;
  int status = file.GetLastLocalName(name);
  if (status != 0) {
    Fail("Failed to recover update file transaction: failed to get file name.", file, status,
         __LINE__);
  }
  // Where a file system moves a file by linking it, a kill leaves both names to one file, and
  // replacing one by the other would do nothing.
  if (AreOneFile(backup, file)) {
    DeleteIfThere(backup);
    return;
  }
  status = ::IO::fileSystem.Replace(backup, name, AccessDeniedTreatment::Report);
  if (status != 0) {
    Fail("Failed to recover update file transaction: failed to restore backup file.", backup,
         status, __LINE__);
  }
}

// Gives false if there is no backup, or none any more.
bool RestoreLeftover(const ::IO::Location& backup, const ::IO::Location& file) {
  while (HasBackup(backup,
                   "Failed to recover update file transaction: failed to look for backup file.")) {
    ::IO::File lock(backup, ::IO::OnNotFound::Fail);
    if (!LockLeftover(backup, lock)) continue;
    Restore(backup, file);
    return true;
  }
  return false;
}

}  // namespace

UpdateFileTransaction::UpdateFileTransaction(const ::IO::Location& location)
    : fileLocation(location) {
  CheckTransactionLocation(location, fileLocation);
  PresentFailuresAs<FileTransactionException>("Failed to start update file transaction.", __FILE__,
                                              __LINE__, [this] { MoveToBackup(); });
}

UpdateFileTransaction::~UpdateFileTransaction() {
  AbortInDestructor(*this);
}

void UpdateFileTransaction::MoveToBackup() {
  const bool exists = Exists(fileLocation);
  if (!exists && fileLocation.GetLocalLength() == 0) return;
  Backup backup =
      FindBackup(fileLocation,
                 "Failed to start update file transaction: failed to create backup file location.",
                 "Failed to start update file transaction: failed to create backup file name.");
  if (!exists) {
    // To go on would leave the old backup beside what is committed, for `Recover` to put it back.
    if (!HasBackup(backup.location,
                   "Failed to start update file transaction: failed to look for backup file.")) {
      return;
    }
    Fail(
        "Failed to start update file transaction: backup file of an unfinished update has to be "
        "restored by Recover first.",
        backup.location, ::IO::StatusAlreadyExists, __LINE__);
  }
  SecureBackup();
  const int status =
      ::IO::fileSystem.Rename(fileLocation, backup.name, AccessDeniedTreatment::Report);
  if (status != 0) {
    Fail("Failed to start update file transaction: failed to create backup file.", fileLocation,
         status, __LINE__);
  }
  // Moved, not copied: without memory a copy would be empty, and the backup forgotten.
  backupFileLocation = std::move(backup.location);
}

// The file that is to become the backup has to survive a power cut whole, and to be known as that
// of an open transaction. Neither can be had of a file that may be neither read nor written, nor a
// lock where the file system has none: it is no worse off than before. A host may hold the lock on
// its own file, which then serves as well; a `Recover` that has just ended holds it for a moment.
void UpdateFileTransaction::SecureBackup() {
  constexpr unsigned int wait = 100;  // milliseconds
  backupFile.reset(Vx::New<::IO::File>(fileLocation, ::IO::OnNotFound::Fail));
  if (OpenFile(fileLocation, *backupFile) != 0 || !backupFile->IsOpen()) return;
  static_cast<void>(backupFile->Flush());
  static_cast<void>(backupFile->Lock(wait));
}

void UpdateFileTransaction::Commit() {
  CheckUnfinished(committed,
                  "Failed to commit update file transaction: update file transaction has already "
                  "been committed.",
                  aborted,
                  "Failed to commit update file transaction: update file transaction has already "
                  "been aborted.");
  if (syncFailed) {
    throw FileTransactionException(
        "Failed to commit update file transaction: an earlier attempt failed to put file on disk.",
        __FILE__, __LINE__);
  }
  PresentFailuresAs<FileTransactionException>("Failed to commit update file transaction.", __FILE__,
                                              __LINE__, [this] { PutOnDisk(); });
  if (!backupFileLocation.IsEmpty()) {
    try {
      DeleteIfThere(backupFileLocation);
    } catch (const Vx::IOException& exception) {
      throw WithCause<FileTransactionException>(
          "Failed to commit update file transaction: failed to delete backup file.", __FILE__,
          __LINE__, exception);
    }
    // Else a power cut could restore the backup, and `Recover` undo what was committed. If this
    // fails there is no way back any more: the new file is the only one.
    static_cast<void>(FlushFolderOf(fileLocation));
  }
  backupFile.reset();
  committed = true;
}

void UpdateFileTransaction::PutOnDisk() {
  constexpr const char* failure =
      "Failed to commit update file transaction: failed to put file on disk.";
  if (!Exists(fileLocation)) return;
  ::IO::Folder folder(fileLocation.GetParent(), ::IO::OnNotFound::Fail);
  ::IO::File file(fileLocation, ::IO::OnNotFound::Fail);
  int status = folder.GetStatus();
  if (status == 0) status = OpenFile(fileLocation, file);
  // Only the host can have synced what nobody may read or write: it had it open.
  if (status != 0 && status != ::IO::StatusAccessDenied) {
    Fail(failure, fileLocation, status, __LINE__);
  }
  status = file.IsOpen() ? file.Flush() : 0;
  if (status == 0) status = file.Close();
  if (status == 0) status = folder.Flush();
  syncFailed = status != 0;
  if (syncFailed) Fail(failure, fileLocation, status, __LINE__);
}

void UpdateFileTransaction::Abort() {
  CheckUnfinished(committed,
                  "Failed to abort update file transaction: update file transaction has already "
                  "been committed.",
                  aborted,
                  "Failed to abort update file transaction: update file transaction has already "
                  "been aborted.");
  aborted = true;
  // Whatever comes of this, the backup is free for `Recover` afterwards.
  const std::unique_ptr<::IO::File> lock = std::move(backupFile);
  PresentFailuresAs<FileTransactionException>("Failed to abort update file transaction.", __FILE__,
                                              __LINE__, [this] { MoveBack(); });
}

void UpdateFileTransaction::MoveBack() {
  DeleteIfThere(fileLocation);
  if (backupFileLocation.IsEmpty() || !Exists(backupFileLocation)) return;
  ::IO::Name name;
  int status = fileLocation.GetLastLocalName(name);
  if (status != 0) {
    Fail("Failed to abort update file transaction: failed to get file name.", fileLocation, status,
         __LINE__);
  }
  status = ::IO::fileSystem.Rename(backupFileLocation, name, AccessDeniedTreatment::Report);
  if (status != 0) {
    Fail("Failed to abort update file transaction: failed to restore backup file.",
         backupFileLocation, status, __LINE__);
  }
}

bool UpdateFileTransaction::Recover(const ::IO::Location& location) {
  CheckFileLocation(location);
  bool found = false;
  PresentFailuresAs<FileTransactionException>(
      "Failed to recover update file transaction.", __FILE__, __LINE__, [&] {
        const Backup backup = FindBackup(
            location,
            "Failed to recover update file transaction: failed to create backup file location.",
            "Failed to recover update file transaction: failed to create backup file name.");
        found = RestoreLeftover(backup.location, location);
        const int status = found ? FlushFolderOf(location) : 0;
        if (status != 0) {
          Fail("Failed to recover update file transaction: failed to put file on disk.", location,
               status, __LINE__);
        }
      });
  return found;
}

}  // namespace Larkspan::Common::IO
