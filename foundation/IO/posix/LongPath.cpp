#include "foundation/IO/posix/LongPath.h"

#include <cerrno>
#include <fcntl.h>
#include <utility>

#include <climits>

#include "foundation/IO/MemoryGuard.h"

namespace IO::Posix {
namespace {

#ifdef PATH_MAX
constexpr std::size_t Limit = PATH_MAX;
#else
constexpr std::size_t Limit = 4096;
#endif

// For its names alone, where the system has such a thing.
#ifdef O_PATH
constexpr int NamesOnly = O_PATH;
#else
constexpr int NamesOnly = O_SEARCH;
#endif

}  // namespace

LongPath::LongPath(const Vx::String& path) noexcept : left(&path), current(GetCurrentFolder()) {
  if (path.GetLength() >= Limit) error = GuardMemory(ENOMEM, [&] { return Walk(path); });
}

int LongPath::Walk(const Vx::String& path) {
  Vx::String::View view = path.GetView();
  while (view.size() >= Limit) {
    const std::size_t end = view.rfind('/', Limit - 2);
    if (end == view.npos || end == 0) return ENAMETOOLONG;
    const Vx::String part(view.substr(0, end));
    Descriptor next(Restart(
        [&] { return ::openat(current, part.GetBuffer(), NamesOnly | O_DIRECTORY | O_CLOEXEC); }));
    if (next.value < 0) return errno;
    std::swap(folder.value, next.value);
    current = folder.value;
    view.remove_prefix(end + 1);
  }
  rest = Vx::String(view);
  left = &rest;
  return 0;
}

}  // namespace IO::Posix
