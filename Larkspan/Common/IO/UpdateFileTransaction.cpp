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

// The location of a file's backup, whether or not anything is there.
Backup FindBackup(const ::IO::Location& file, const char* locationFailure,
                  const char* nameFailure) {
  if (file.GetLocalLength() == 0) Fail(nameFailure, __LINE__);
  Backup backup{file.GetSibling(u".bak"), {}};
  if (backup.location.GetStatus() != 0) Fail(locationFailure, __LINE__);
  if (backup.location.GetLastLocalName(backup.name) != 0) Fail(nameFailure, __LINE__);
  return backup;
}

// The folder that a file lies in.
class ParentFolder final {
 public:
  explicit ParentFolder(const ::IO::Location& file) noexcept
      : folder(file.GetParent(), ::IO::OnNotFound::Fail) {}

  // Syncs its names.
  [[nodiscard]] int Flush() noexcept {
    return folder.GetStatus() != 0 ? folder.GetStatus() : folder.Flush();
  }

 private:
  ::IO::Folder folder;
};

// Syncs a file's data. What is not a file has none of its own.
int FlushData(const ::IO::Location& location) noexcept {
  ::IO::EntryType type = ::IO::EntryType::Other;
  int status = ::IO::fileSystem.GetType(location, &type);
  if (status != 0 || type != ::IO::EntryType::File) return status;
  ::IO::File file(location, ::IO::OnNotFound::Fail);
  status = file.Open(::IO::OpenMode::Write, AccessDeniedTreatment::Report);
  if (status == ::IO::StatusAccessDenied) {  // the host may have made it a file to be read only
    status = file.Open(::IO::OpenMode::Read, AccessDeniedTreatment::Report);
  }
  if (status == 0) status = file.Flush();
  return status != 0 ? status : file.Close();
}

// Whether both are names of the very same file.
bool AreOneFile(const ::IO::Location& first, const ::IO::Location& second) noexcept {
  ::IO::Attributes one;
  ::IO::Attributes other;
  return ::IO::fileSystem.GetAttributes(first, &one, false) == 0 &&
         ::IO::fileSystem.GetAttributes(second, &other, false) == 0 && one.IsSameItem(other);
}

// Whether the backup is there. The name may be too long for the file system to have it at all.
bool HasBackup(const ::IO::Location& backup) {
  bool found = false;
  const int status = ::IO::fileSystem.Contains(backup, &found);
  if (status != 0 && status != ::IO::StatusInvalidLocation) {
    Fail("Failed to recover update file transaction: failed to look for backup file.", __LINE__);
  }
  return found;
}

void Restore(const ::IO::Location& backup, const ::IO::Location& file) {
  ::IO::Name name;
  if (file.GetLastLocalName(name) != 0) {
    Fail("Failed to recover update file transaction: failed to get file name.", __LINE__);
  }
  // Where a file system moves a file by linking it, a kill leaves both names to one file, and
  // replacing one by the other would do nothing.
  if (AreOneFile(backup, file)) {
    DeleteIfThere(backup);
  } else if (::IO::fileSystem.Replace(backup, name, AccessDeniedTreatment::Report) != 0) {
    Fail("Failed to recover update file transaction: failed to restore backup file.", __LINE__);
  }
  if (ParentFolder(file).Flush() != 0) {
    Fail("Failed to recover update file transaction: failed to put file on disk.", __LINE__);
  }
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
  if (!Exists(fileLocation)) return;
  Backup backup =
      FindBackup(fileLocation,
                 "Failed to start update file transaction: failed to create backup file location.",
                 "Failed to start update file transaction: failed to create backup file name.");
  // The backup is to survive a power cut whole. If its data can't be synced, say because
  // the file may be neither read nor written, it is no worse off than before.
  static_cast<void>(FlushData(fileLocation));
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
                  "been aborted.");
  ParentFolder folder(fileLocation);
  PresentFailuresAs<FileTransactionException>(
      "Failed to commit update file transaction.", __FILE__, __LINE__, [&] {
        if (!Exists(fileLocation)) return;
        if (FlushData(fileLocation) != 0 || folder.Flush() != 0) {
          Fail("Failed to commit update file transaction: failed to put file on disk.", __LINE__);
        }
      });
  if (!backupFileLocation.IsEmpty()) {
    try {
      DeleteIfThere(backupFileLocation);
    } catch (const Vx::IOException& exception) {
      Fail("Failed to commit update file transaction: failed to delete backup file.", __LINE__,
           exception);
    }
    // Else a power cut could restore the backup, and `Recover` undo what was committed. If this
    // fails there is no way back any more: the new file is the only one.
    static_cast<void>(folder.Flush());
  }
  committed = true;
}

void UpdateFileTransaction::Abort() {
  CheckUnfinished(committed,
                  "Failed to abort update file transaction: update file transaction has already "
                  "been committed.",
                  aborted,
                  "Failed to abort update file transaction: update file transaction has already "
                  "been aborted.");
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
  CheckFileLocation(location);
  bool found = false;
  PresentFailuresAs<FileTransactionException>(
      "Failed to recover update file transaction.", __FILE__, __LINE__, [&] {
        const Backup backup = FindBackup(
            location,
            "Failed to recover update file transaction: failed to create backup file location.",
            "Failed to recover update file transaction: failed to create backup file name.");
        found = HasBackup(backup.location);
        if (found) Restore(backup.location, location);
      });
  return found;
}

}  // namespace Larkspan::Common::IO
