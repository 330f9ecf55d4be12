#include "foundation/IO/Accounts.h"

#include <cerrno>
#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include "foundation/IO/MemoryGuard.h"
#include "foundation/IO/Status.h"
#include "foundation/IO/posix/ErrorStatus.h"
#include "foundation/Vx/Memory.h"

namespace IO {
namespace {

// Runs a look-up with a buffer that grows until the answer fits, and hands the answer to `take`.
template <class Record, class LookUp, class Take>
int Find(LookUp lookUp, Take take) noexcept {
  return GuardMemory(StatusOutOfMemory, [&] {
    int error = ERANGE;
    for (unsigned int size = 1024; error == ERANGE && size <= 0x1000000U; size *= 4) {
      const Vx::ByteArray buffer = Vx::NewByteArray(size);
      Record record{};
      Record* found = nullptr;
      do {
        error = lookUp(&record, buffer.get(), size, &found);
      } while (error == EINTR);
      if (error == 0 && found == nullptr) return StatusNotFound;
      if (error == 0) take(*found);
    }
    // What a database says of an unknown name differs from system to system.
    const bool isUnknown = error == ENOENT || error == ESRCH || error == EBADF || error == EPERM;
    return isUnknown ? StatusNotFound : Posix::FileSystemStatus(error);
  });
}

}  // namespace

int GetUserName(unsigned int number, Vx::String* name) noexcept {
  return Find<passwd>([&](auto... place) { return ::getpwuid_r(number, place...); },
                      [&](const passwd& record) { *name = Vx::String(record.pw_name); });
}

int GetGroupName(unsigned int number, Vx::String* name) noexcept {
  return Find<group>([&](auto... place) { return ::getgrgid_r(number, place...); },
                     [&](const group& record) { *name = Vx::String(record.gr_name); });
}

int FindUser(const Vx::String& name, unsigned int* number) noexcept {
  return Find<passwd>([&](auto... place) { return ::getpwnam_r(name.GetBuffer(), place...); },
                      [&](const passwd& record) { *number = record.pw_uid; });
}

int FindGroup(const Vx::String& name, unsigned int* number) noexcept {
  return Find<group>([&](auto... place) { return ::getgrnam_r(name.GetBuffer(), place...); },
                     [&](const group& record) { *number = record.gr_gid; });
}

bool IsPrivileged() noexcept {
  return ::geteuid() == 0;
}

}  // namespace IO
