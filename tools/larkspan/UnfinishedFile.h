#pragma once

#include "foundation/IO/Location.h"

namespace Tool {

/// A file that is removed at the end of its scope, unless it is kept. One at a time.
class UnfinishedFile final {
 public:
  explicit UnfinishedFile(const ::IO::Location& file);
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;
  ~UnfinishedFile();

  /// Nothing stands under the location any more that could be removed.
  void Keep() noexcept { kept = true; }

 private:
  const ::IO::Location& location;
  bool kept = false;
};

/// Removes the unfinished file, if there is one, just before the process ends: no other can be made
/// after that.
void RemoveUnfinishedFile() noexcept;

}  // namespace Tool
