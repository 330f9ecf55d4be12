#include "foundation/IO/posix/NameExchange.h"

#include <cerrno>

#include "foundation/IO/MemoryGuard.h"
#include "foundation/IO/posix/Descriptor.h"
#include "foundation/IO/posix/FolderEntries.h"
#include "foundation/IO/posix/ItemAttributes.h"
#include "foundation/IO/posix/UnnamedFile.h"

namespace IO::Posix {
namespace {

constexpr unsigned int SpareCount = 100;  // exchanges in one folder at one time

Vx::String MakeSpareName(unsigned int number) {
  Vx::String name(".exchange-");
  name.Append(static_cast<char>('0' + number / 10));
  name.Append(static_cast<char>('0' + number % 10));
  return name;
}

// Links a second, new name beside `name`.
int LinkSpare(int folder, const Vx::String& name, Vx::String& spare) noexcept {
  return GuardMemory(ENOMEM, [&] {
    int error = EEXIST;
    for (unsigned int number = 0; error == EEXIST && number < SpareCount; ++number) {
      spare = MakeSpareName(number);
      RemoveIfDead(folder, spare);
      error = LinkName(folder, name, spare);
    }
    return error;
  });
}

// The swap where there is no such step. What stands under the names, with "old" for what `first`
// named at the start:
//
//              first  second  spare
//   at first   old    new
//   link       old    new     old
//   replace    new            old      `first` goes from old to new in one step
//   replace    new    old
//
// To move `first` out of the way instead would be a step less, and leave nothing under it.
int SwapBySteps(int folder, const Vx::String& first, const Vx::String& second) noexcept {
  // The lock on the old file tells others that its spare name is not a dead one. If it is not to be
  // had, somebody has it who lets the names be swapped.
  Descriptor old;
  if (OpenFileIn(folder, first, Access::Read, &old.value) == 0) {
    static_cast<void>(TryLock(old.value));
  }
  Vx::String spare;
  int error = LinkSpare(folder, first, spare);
  if (error != 0) return error;
  error = ReplaceName(folder, second, first);
  if (error == 0) {
    error = ReplaceName(folder, spare, second);
    // The inverse steps: the new file gets its name back before the old one takes `first`.
    const bool undone = error != 0 && LinkName(folder, first, second) == 0 &&
                        ReplaceName(folder, spare, first) == 0;
    if (error != 0 && !undone) return error;  // the old content stays reachable as the spare
  }
  // Left over after a failure, and where both names are links to one file, which renaming skips.
  static_cast<void>(RemoveName(folder, spare));
  return error;
}

int Swap(int folder, const Vx::String& first, const Vx::String& second) noexcept {
  const int error = SwapNames(folder, first, second);
  return IsUnsupported(error) ? SwapBySteps(folder, first, second) : error;
}

// The move where the system can't refuse a name that is taken: to make a link does refuse it. A
// kill between the steps leaves the file under both names.
int MoveBySteps(int folder, const Vx::String& from, const Vx::String& to) noexcept {
  int error = LinkName(folder, from, to);
  if (error != 0) return error;
  // A disk that keeps no order of names could lose the new one and keep that the old one is gone.
  error = SyncAll(folder);
  if (error == 0) error = RemoveName(folder, from);
  // A removal can be reported as failed and have happened, as over a network: `to` is then the only
  // name left.
  if (error == 0 || !AreOneItem(folder, from, to)) return 0;
  static_cast<void>(RemoveName(folder, to));
  return error;
}

}  // namespace

int ExchangeNames(int folder, const Vx::String& first, const Vx::String& second) noexcept {
  if (first == second) return EINVAL;
  // The content is synced first: a name can become durable before the data that it leads to, and
  // after a power cut in between the good name would lead to an empty file. Writers of a file that
  // is replaced are often spared this by the file system; those that swap names are not.
  int error = SyncFile(folder, first);
  if (error == 0) error = SyncFile(folder, second);
  if (error == 0) error = Swap(folder, first, second);
  if (error != 0) return error;
  // Only now may the caller delete the old file: its name must not outlive its successor's.
  error = SyncAll(folder);
  if (error != 0) static_cast<void>(Swap(folder, first, second));
  return error;
}

void RemoveDeadSpares(int folder, int locked) noexcept {
  static_cast<void>(GuardMemory(ENOMEM, [folder, locked] {
    Attributes facts;
    Attributes own;
    const bool owns = ReadAttributes(locked, &own) == 0;
    for (unsigned int number = 0; number < SpareCount; ++number) {
      const Vx::String spare = MakeSpareName(number);
      if (ReadAttributes(folder, spare, false, &facts) != 0) break;  // the lowest are taken first
      if (owns && facts.IsSameItem(own)) {
        static_cast<void>(RemoveName(folder, spare));
      } else {
        RemoveIfDead(folder, spare);
      }
    }
    return 0;
  }));
}

int MoveItem(int folder, const Vx::String& from, const Vx::String& to) noexcept {
  const int error = MoveName(folder, from, to);
  return IsUnsupported(error) ? MoveBySteps(folder, from, to) : error;
}

int RenameItem(int folder, const Vx::String& from, const Vx::String& to) noexcept {
  int error = MoveItem(folder, from, to);
  if (error != 0) return error;
  // A caller that makes a new file under the old name counts on the old one being safe by then.
  error = SyncAll(folder);
  if (error != 0) static_cast<void>(MoveItem(folder, to, from));
  return error;
}

}  // namespace IO::Posix
