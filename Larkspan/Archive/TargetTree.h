#pragma once

#include <functional>
#include <vector>

#include "Larkspan/Archive/TreeExtractor.h"
#include "foundation/IO/FolderTree.h"
#include "foundation/IO/Location.h"

namespace Larkspan::Archive {

/// The target folder of an extraction and the folders below it, none of which is reached through a
/// link. What the system refuses goes to a function that has to throw.
class TargetTree final {
 public:
  /// Whether the names that were made in a folder are synced when the work leaves it.
  enum class Sync : int { No, Yes };
  using Step = TreeExtractor::Step;
  using Fail = std::function<void(Step step, const ::IO::Location& location, int status)>;

  /// Opens the target folder, and makes it if it is missing.
  TargetTree(const ::IO::Location& folder, Sync wanted, Fail failure);

  [[nodiscard]] const ::IO::Location& GetLocation() const noexcept { return tree.GetLocation(); }
  /// Whether nothing of the target folder was there before.
  [[nodiscard]] bool IsNew() const noexcept { return !changedParents.empty(); }

  /// Opens a folder and makes it if it is missing. It stays open until the next call.
  [[nodiscard]] ::IO::Folder& Enter(const ::IO::Location& folder);
  /// Null if the folder is missing.
  [[nodiscard]] ::IO::Folder* Find(const ::IO::Location& folder);

  /// Syncs, if that is wanted, all names that are not synced yet.
  void Finish();

  /// Sets mode and time of a folder, and first owner and group if `withOwner`, durably if that is
  /// wanted. Returns the status of the file system.
  [[nodiscard]] int SetAttributes(const ::IO::Location& folder, const ::IO::Attributes& attributes,
                                  bool withOwner);

 private:
  void SyncUpTo(const ::IO::Location& next);
  void Flush(::IO::Folder& folder, const ::IO::Location& location) const;

  const Sync sync;
  const Fail fail;
  std::vector<::IO::Location> changedParents;  // of the target folder and of those made for it
  ::IO::FolderTree tree;
  ::IO::Location current;
};

}  // namespace Larkspan::Archive
