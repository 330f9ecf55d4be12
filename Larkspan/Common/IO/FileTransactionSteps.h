#pragma once

#include "Larkspan/Common/ExceptionReport.h"
#include "Larkspan/Common/IO/FileTransactionException.h"
#include "Larkspan/Common/IO/IOUtilities.h"
#include "Larkspan/Common/IO/LocationChecks.h"
#include "foundation/Vx/OutOfMemoryException.h"

/// What the classes of file transactions have in common.
namespace Larkspan::Common::IO {

/// The tests of a constructor: of its argument, and of the copy that it made of that.
inline void CheckTransactionLocation(const ::IO::Location& location, const ::IO::Location& copy,
                                     const char* file = __builtin_FILE(),
                                     unsigned int line = __builtin_LINE()) {
  CheckFileLocation(location, file, line);
  if (copy.GetStatus() != 0) throw Vx::OutOfMemoryException("", file, line);
}

/// The test that comes first in `Commit` and `Abort`. A transaction that is finished has one of the
/// flags set, and fails with the message that belongs to it.
inline void CheckUnfinished(bool committed, const char* committedMessage, bool aborted,
                            const char* abortedMessage, const char* file = __builtin_FILE(),
                            unsigned int line = __builtin_LINE()) {
  if (committed) throw FileTransactionException(committedMessage, file, line);
  if (aborted) throw FileTransactionException(abortedMessage, file, line);
}

/// Deletes what is there. It is no failure if somebody else is faster, or if the deletion is
/// reported as failed and has happened all the same, as over a network.
inline void DeleteIfThere(const ::IO::Location& location) {
  if (!Exists(location)) return;
  try {
    Delete(location);
  } catch (const Vx::IOException&) {
    if (Exists(location)) throw;
  }
}

/// Aborts a transaction that is being destroyed, if it is not finished. Only the debug output is
/// left to be told of a failure, and not even that of running out of memory.
template <class Transaction>
void AbortInDestructor(Transaction& transaction) noexcept {
  if (transaction.Transaction::IsCommitted() || transaction.Transaction::IsAborted()) return;
  try {
    try {
      transaction.Transaction::Abort();
    } catch (const Vx::OutOfMemoryException&) {
    } catch (const VxException& exception) {
      DebugPrintEx(exception);
    }
  } catch (...) {
    // The report itself found no memory.
  }
}

}  // namespace Larkspan::Common::IO
