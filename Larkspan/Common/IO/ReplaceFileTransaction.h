#pragma once

#include <memory>

#include "Larkspan/Common/Export.h"
#include "Larkspan/Common/IO/FileTransaction.h"
#include "foundation/IO/Location.h"
#include "foundation/Vx/OBinaryChannel.h"

namespace Larkspan::Common::IO {

/// The replacement of a file that others read meanwhile. The host writes the new one through
/// `GetChannel`; it has no name, or a temporary one, and the old file stands under its own until
/// `Commit` puts the new one there in one step. Nobody ever sees half a file, or none. Whatever
/// happens, a kill or a power cut included, the old file is there, or the new one, complete and
/// durable; nothing has to be recovered.
///
/// The new file gets owner, group and permissions of the old one, as far as the system allows, and
/// never wider permissions. A symbolic link at the location stays: what it leads to is replaced.
/// Other hard links to the old file go on leading to that. Where there is no old file, one is made.
///
/// Of two transactions on one file that are both committed, the later commit stays.
class LARKSPAN_API ReplaceFileTransaction final : public FileTransaction {
 public:
  /// Makes the new file, which is empty, in the folder of the old one. Throws
  /// `Vx::IllegalArgumentException` for a location that is not valid or empty, and
  /// `FileTransactionException` if the file can't be made, or the location is of a folder or of a
  /// link that leads nowhere.
  explicit ReplaceFileTransaction(const ::IO::Location& location);
  ReplaceFileTransaction(const ReplaceFileTransaction&) = delete;
  ReplaceFileTransaction& operator=(const ReplaceFileTransaction&) = delete;
  ~ReplaceFileTransaction() override;

  /// Writes the new file, as `FileOBinaryChannel` does. Lives as long as this object; whether the
  /// host closes it makes no difference. After `Commit` or `Abort`, a write throws.
  [[nodiscard]] Vx::OBinaryChannel& GetChannel() noexcept;
  /// False if the system refused to give the new file owner, group or permissions of the old one.
  [[nodiscard]] bool HasKeptOwner() const noexcept { return ownerKept; }

  [[nodiscard]] bool IsCommitted() const noexcept override { return committed; }
  [[nodiscard]] bool IsAborted() const noexcept override { return aborted; }

  /// Syncs the new file, puts it in the place of the old one, and syncs the folder. On failure the
  /// old file is in its place, unless it was the folder that could not be synced: then the new one
  /// is, and not durable yet. After a failure `Commit` throws for good, and `Abort` is left.
  void Commit() override;
  /// Drops the new file. Where the folder could not be synced, it has replaced the old one already.
  void Abort() override;

 private:
  struct NewContent;

  std::unique_ptr<NewContent> content;
  bool ownerKept = true;
  bool failed = false;
  bool committed = false;
  bool aborted = false;
};

}  // namespace Larkspan::Common::IO
