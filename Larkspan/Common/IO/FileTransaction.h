#pragma once

#include "Larkspan/Common/Export.h"

namespace Larkspan::Common::IO {

/// A change of one file that happens as a whole or not at all. The host makes the transaction,
/// does its own writing at the file's location, and then calls `Commit` or `Abort` once; one that
/// is destroyed unfinished aborts by itself, and nobody is told if that fails. A transaction writes
/// no content: it decides what stays.
///
/// Running out of memory is `Vx::OutOfMemoryException`, or, where the file-system layer runs out of
/// it, a `FileTransactionException` whose detail has `IO::StatusOutOfMemory`.
///
/// One thread at a time. Two transactions on one file, or one and somebody else who writes there,
/// are not coordinated.
class LARKSPAN_API FileTransaction {
 public:
  virtual ~FileTransaction();

  [[nodiscard]] virtual bool IsCommitted() const = 0;
  /// True once `Abort` has begun, whether or not it could do all of its work.
  [[nodiscard]] virtual bool IsAborted() const = 0;

  /// Keeps what the host wrote. Throws `FileTransactionException` if that can't be done, and leaves
  /// the transaction open: `Abort` can be called, and `Commit` again unless a sync has failed.
  /// Throws it too for a transaction that is finished.
  virtual void Commit() = 0;

  /// Restores what was there before. Throws `FileTransactionException` if that can't be done; no
  /// further attempt is made. Throws it too for a transaction that is finished.
  virtual void Abort() = 0;

 protected:
  FileTransaction() noexcept;
  FileTransaction(const FileTransaction& source) noexcept;
  // NOLINTNEXTLINE(misc-unconventional-assign-operator): the result type is part of the interface.
  const FileTransaction& operator=(const FileTransaction& source) noexcept;
};

}  // namespace Larkspan::Common::IO
