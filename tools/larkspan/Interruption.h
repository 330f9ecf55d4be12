#pragma once

/// An interruption, by a person at the keyboard or by the system, ends the work at the next step
/// of a loop, and leaves no unfinished file behind. Where the file system has no files without a
/// name, one that ends while blocked can leave a file that the next run there removes.
namespace Tool {

struct Interrupted {};

/// Takes notice of signals from now on, and makes a closed pipe, and a file that reaches the
/// largest size allowed, a failure of writing.
void InstallInterruption() noexcept;

/// Throws `Interrupted` if a signal has come.
void CheckInterruption();

/// From now on the process also ends, with its unfinished file removed, when blocked in a system
/// call: a pipe that nobody fills or empties. Called before standard streams are used.
void EndWhereBlocked();

}  // namespace Tool
