#include "Larkspan/Common/IO/CreateFileTransaction.h"

#include "Larkspan/Common/IO/FailureGuard.h"
#include "Larkspan/Common/IO/FileTransactionSteps.h"

namespace Larkspan::Common::IO {

CreateFileTransaction::CreateFileTransaction(const ::IO::Location& location)
    : fileLocation(location) {
  CheckTransactionLocation(location, fileLocation);
}

CreateFileTransaction::~CreateFileTransaction() {
  AbortInDestructor(*this);
}

void CreateFileTransaction::Commit() {
  CheckUnfinished(committed,
                  "Failed to commit create file transaction: create file transaction has already "
                  "been committed.",
                  aborted,
                  "Failed to commit create file transaction: create file transaction has already "
                  "been aborted.");
  committed = true;
}

void CreateFileTransaction::Abort() {
  CheckUnfinished(committed,
                  "Failed to abort create file transaction: create file transaction has already "
                  "been committed.",
                  aborted,
                  "Failed to abort create file transaction: create file transaction has already "
                  "been aborted.");
  aborted = true;
  PresentFailuresAs<FileTransactionException>("Failed to abort create file transaction.", __FILE__,
                                              __LINE__, [this] { DeleteIfThere(fileLocation); });
}

}  // namespace Larkspan::Common::IO
