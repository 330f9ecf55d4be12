#include "foundation/IO/FreeName.h"

#include "foundation/IO/posix/Descriptor.h"
#include "foundation/IO/posix/ErrorStatus.h"
#include "foundation/IO/posix/FolderEntries.h"
#include "foundation/IO/posix/PathText.h"

namespace IO {
namespace {

// Making a link refuses a name that is taken on every file system.
int Move(int folder, const Vx::String& from, const Vx::String& to) noexcept {
  int error = Posix::MoveName(folder, from, to);
  if (!Posix::IsUnsupported(error)) return error;
  error = Posix::LinkName(folder, from, to);
  if (error == 0) error = Posix::RemoveName(folder, from);
  return error;
}

}  // namespace

int MoveToFreeName(const Location& location, const Name& name) noexcept {
  Location parent(location);
  Name source;
  int status = parent.GetLastLocalName(source);
  if (status == 0) status = parent.DeleteLastLocalName();
  if (status != 0) return status;
  Vx::String path;
  Vx::String from;
  Vx::String to;
  Posix::Descriptor folder;
  int error = Posix::LocationToBytes(parent, path);
  if (error == 0) error = Posix::NameToBytes(source.GetText(), from);
  if (error == 0) error = Posix::NameToBytes(name.GetText(), to);
  if (error == 0) error = Posix::OpenFolder(path, &folder.value);
  if (error == 0) error = Move(folder.value, from, to);
  return Posix::FileSystemStatus(error);
}

}  // namespace IO
