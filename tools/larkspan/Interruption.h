#pragma once

#include "foundation/IO/Location.h"

/// An interruption, by a person at the keyboard or by the system, ends the work at the next step
/// of a loop, and leaves no unfinished file behind.
namespace Tool {

struct Interrupted {};

/// Takes notice of signals from now on, and makes a closed pipe a failure of writing.
void InstallInterruption() noexcept;

/// Raises `Interrupted` if a signal has come.
void CheckInterruption();

/// From now on the process also ends, with its unfinished file removed, where it hangs in a call of
/// the system: a pipe that nobody fills or empties. Called before standard streams are used.
void EndWhereBlocked();

/// A file that is removed in the end, unless it is kept. One at a time.
class UnfinishedFile final {
 public:
  explicit UnfinishedFile(const ::IO::Location& location);
  UnfinishedFile(const UnfinishedFile&) = delete;
  UnfinishedFile& operator=(const UnfinishedFile&) = delete;
  ~UnfinishedFile();

  /// Nothing stands under the location any more that could be removed.
  void Keep() noexcept { kept = true; }

 private:
  const ::IO::Location& place;
  bool kept = false;
};

}  // namespace Tool
