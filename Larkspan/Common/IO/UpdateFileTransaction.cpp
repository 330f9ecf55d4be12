#include "Larkspan/Common/IO/UpdateFileTransaction.h"

#include <utility>

#include "Larkspan/Common/IO/FailureGuard.h"
#include "Larkspan/Common/IO/FileTransactionSteps.h"
#include "foundation/IO/File.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/IO/Folder.h"

namespace Larkspan::Common::IO {
namespace {

using ::IO::AccessDeniedTreatment;

[[noreturn]] void Fail(const char* message, unsigned int line,
                       const VxException& cause = Vx::NoCauseException()) {
  throw FileTransactionException(message, __FILE__, line, cause);
}

struct Backup {
  ::IO::Location location;
  ::IO::Name name;
};

// The place of a file's backup, whether or not anything is there.
Backup FindBackup(const ::IO::Location& file, const char* locationFailure,
                  const char* nameFailure) {
  Backup backup;
  backup.location = file;
  if (backup.location.GetStatus() != 0) Fail(locationFailure, __LINE__);
  if (backup.location.GetLastLocalName(backup.name) != 0) Fail(nameFailure, __LINE__);
  if (backup.location.DeleteLastLocalName() != 0) Fail(locationFailure, __LINE__);
  backup.name.GetText().Append(u".bak");
  if (backup.location.AppendToLocal(backup.name) != 0) Fail(locationFailure, __LINE__);
  return backup;
}

// Puts the names of the folder that the file lies in on the disk.
int FlushFolderOf(const ::IO::Location& file) noexcept {
  ::IO::Location parent(file);
  int status = parent.DeleteLastLocalName();
  if (status != 0) return status;
  ::IO::Folder folder(parent, ::IO::OnNotFound::Fail);
  status = folder.GetStatus();
  return status != 0 ? status : folder.Flush();
}

// Puts a file's data on the disk. What is no file has none of its own.
int FlushData(const ::IO::Location& location) noexcept {
  ::IO::EntryType type = ::IO::EntryType::Other;
  int status = ::IO::fileSystem.GetType(location, &type);
  if (status != 0 || type != ::IO::EntryType::File) return status;
  ::IO::File file(location, ::IO::OnNotFound::Fail);
  status = file.Open(::IO::OpenMode::Write, AccessDeniedTreatment::Report);
  // The host may have made it a file to be read only.
  if (status != 0) status = file.Open(::IO::OpenMode::Read, AccessDeniedTreatment::Report);
  if (status == 0) status = file.Flush();
  return status != 0 ? status : file.Close();
}

void PutOnDisk(const ::IO::Location& file) {
  if (!Exists(file)) return;
  if (FlushData(file) != 0 || FlushFolderOf(file) != 0) {
    Fail("Failed to commit update file transaction: failed to put file on disk.", __LINE__);
  }
}

void Restore(const ::IO::Location& backup, const ::IO::Location& file) {
  ::IO::Name name;
  if (file.GetLastLocalName(name) != 0) {
    Fail("Failed to recover update file transaction: failed to get file name.", __LINE__);
  }
  if (::IO::fileSystem.Replace(backup, name, AccessDeniedTreatment::Report) != 0) {
    Fail("Failed to recover update file transaction: failed to restore backup file.", __LINE__);
  }
  // Where a file system moves a file by linking it, a kill leaves both names to one file, and
  // replacing one by the other does nothing.
  DeleteIfThere(backup);
  if (FlushFolderOf(file) != 0) {
    Fail("Failed to recover update file transaction: failed to put file on disk.", __LINE__);
  }
}

}  // namespace

UpdateFileTransaction::UpdateFileTransaction(const ::IO::Location& location)
    : fileLocation(location) {
  CheckTransactionLocation(location, fileLocation, __FILE__, __LINE__);
  PresentFailuresAs<FileTransactionException>("Failed to start update file transaction.", __FILE__,
                                              __LINE__, [this] { MoveToBackup(); });
}

UpdateFileTransaction::~UpdateFileTransaction() {
  AbortInDestructor(*this);
}

void UpdateFileTransaction::MoveToBackup() {
  if (!Exists(fileLocation)) return;
  Backup backup =
      FindBackup(fileLocation,
                 "Failed to start update file transaction: failed to create backup file location.",
                 "Failed to start update file transaction: failed to create backup file name.");
  if (::IO::fileSystem.Rename(fileLocation, backup.name, AccessDeniedTreatment::Report) != 0) {
    Fail("Failed to start update file transaction: failed to create backup file.", __LINE__);
  }
  // Moved, not copied: without memory a copy would be empty, and the backup forgotten.
  backupFileLocation = std::move(backup.location);
}

void UpdateFileTransaction::Commit() {
  CheckUnfinished(committed,
                  "Failed to commit update file transaction: update file transaction has already "
                  "been committed.",
                  aborted,
                  "Failed to commit update file transaction: update file transaction has already "
                  "been aborted.",
                  __FILE__, __LINE__);
  PresentFailuresAs<FileTransactionException>("Failed to commit update file transaction.", __FILE__,
                                              __LINE__, [this] { PutOnDisk(fileLocation); });
  if (!backupFileLocation.IsEmpty()) {
    try {
      DeleteIfThere(backupFileLocation);
    } catch (const Vx::IOException& exception) {
      Fail("Failed to commit update file transaction: failed to delete backup file.", __LINE__,
           exception);
    }
    // Else a power cut could bring the backup back, and `Recover` undo what was committed. If this
    // fails there is no way back any more: the new file is the only one.
    static_cast<void>(FlushFolderOf(fileLocation));
  }
  committed = true;
}

void UpdateFileTransaction::Abort() {
  CheckUnfinished(committed,
                  "Failed to abort update file transaction: update file transaction has already "
                  "been committed.",
                  aborted,
                  "Failed to abort update file transaction: update file transaction has already "
                  "been aborted.",
                  __FILE__, __LINE__);
  aborted = true;
  PresentFailuresAs<FileTransactionException>("Failed to abort update file transaction.", __FILE__,
                                              __LINE__, [this] { MoveBack(); });
}

void UpdateFileTransaction::MoveBack() {
  DeleteIfThere(fileLocation);
  if (backupFileLocation.IsEmpty() || !Exists(backupFileLocation)) return;
  ::IO::Name name;
  if (fileLocation.GetLastLocalName(name) != 0) {
    Fail("Failed to abort update file transaction: failed to get file name.", __LINE__);
  }
  if (::IO::fileSystem.Rename(backupFileLocation, name, AccessDeniedTreatment::Report) != 0) {
    Fail("Failed to abort update file transaction: failed to restore backup file.", __LINE__);
  }
}

bool UpdateFileTransaction::Recover(const ::IO::Location& location) {
  CheckFileLocation(location, __FILE__, __LINE__);
  bool found = false;
  PresentFailuresAs<FileTransactionException>(
      "Failed to recover update file transaction.", __FILE__, __LINE__, [&] {
        const Backup backup = FindBackup(
            location,
            "Failed to recover update file transaction: failed to create backup file location.",
            "Failed to recover update file transaction: failed to create backup file name.");
        found = Exists(backup.location);
        if (found) Restore(backup.location, location);
      });
  return found;
}

}  // namespace Larkspan::Common::IO
