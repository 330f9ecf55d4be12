#include "Larkspan/Interop/Paths.h"

#include <new>
#include <string>

#include "foundation/IO/FileSystem.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/IllegalArgumentException.h"
#include "foundation/Vx/OutOfMemoryException.h"

namespace Larkspan::Interop {
namespace {

void CheckStatus(int status, const ::IO::Location& location, const char* message) {
  if (status == ::IO::StatusOutOfMemory) throw Vx::OutOfMemoryException();
  if (status == 0) return;
  throw ::IO::WithDetail(Vx::IllegalArgumentException(message, __FILE__, __LINE__), location,
                         status);
}

}  // namespace

::IO::Location ToLocation(const std::filesystem::path& path) {
  ::IO::Location location;
  const int status = ::IO::fileSystem.FromNativePath(path.native(), location);
  CheckStatus(status, location, "Invalid path: no location can be made of it.");
  return location;
}

std::filesystem::path ToPath(const ::IO::Location& location) {
  if (location.IsValid() && location.IsEmpty()) return {};
  Vx::String native;
  const int status = ::IO::fileSystem.ToNativePath(location, native);
  CheckStatus(status, location, "Invalid location: it is not a path of this platform.");
  try {
    return std::filesystem::path(std::string(native.GetView()));
  } catch (const std::bad_alloc&) {
    throw Vx::OutOfMemoryException();
  }
}

}  // namespace Larkspan::Interop
