#pragma once

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/FileTransaction.h"
#include "foundation/IO/Location.h"

namespace Larkspan::Common::IO {

/// The making of a file: `Abort` removes it, `Commit` keeps it. Whether a file stands there at the
/// start is not looked at; one that does is removed by `Abort` too.
class LARKSPAN_API CreateFileTransaction final : public FileTransaction {
 public:
  /// Does not touch the file system. Throws `Vx::IllegalArgumentException` for a location that is
  /// not valid or empty.
  explicit CreateFileTransaction(const ::IO::Location& location);
  CreateFileTransaction(const CreateFileTransaction&) = delete;
  CreateFileTransaction& operator=(const CreateFileTransaction&) = delete;
  ~CreateFileTransaction() override;

  [[nodiscard]] bool IsCommitted() const noexcept override { return committed; }
  [[nodiscard]] bool IsAborted() const noexcept override { return aborted; }

  /// Does not touch the file system: whether the file is durable is the writer's
  /// affair.
  void Commit() override;
  void Abort() override;

 private:
  ::IO::Location fileLocation;
  bool committed = false;
  bool aborted = false;
};

}  // namespace Larkspan::Common::IO
