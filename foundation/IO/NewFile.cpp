#include "foundation/IO/NewFile.h"

#include "foundation/IO/posix/ErrorStatus.h"
#include "foundation/IO/posix/FolderEntries.h"
#include "foundation/IO/posix/PathText.h"
#include "foundation/IO/posix/UnnamedFile.h"

namespace IO {

NewFile::NewFile(const Folder& folder, Access access) noexcept
    : NewFile(folder, access == Access::Private ? Posix::PrivateMode : Posix::OrdinaryMode) {}

NewFile::NewFile(const Folder& folder, unsigned int mode) noexcept
    : parent(folder), file(folder, Name(), OnNotFound::Ignore) {
  if (folder.descriptor < 0) {
    status = folder.status != 0 ? folder.status : StatusNotFound;
    return;
  }
  const int error =
      Posix::MakeUnnamedFile(folder.descriptor, mode, &file.descriptor, temporaryName);
  file.isRegular = true;
  status = Posix::FileSystemStatus(error);
}

NewFile::~NewFile() {
  Drop();
}

void NewFile::Drop() noexcept {
  if (complete) return;
  // The name goes first: while the file is open, its lock tells others that it is alive.
  if (!temporaryName.IsEmpty()) {
    static_cast<void>(Posix::RemoveName(parent.descriptor, temporaryName));
    temporaryName.Clear();
  }
  file.Close();
}

int NewFile::Complete(const Name& name, Naming naming) noexcept {
  if (status != 0) return status;
  Vx::String target;
  int error = Posix::NameToBytes(name.GetText(), target);
  const auto step = naming == Naming::Replacing ? Posix::NameFileReplacing : Posix::NameFile;
  if (error == 0) error = step(parent.descriptor, file.descriptor, temporaryName, target);
  complete = error == 0;
  return Posix::FileSystemStatus(error);
}

bool NewFile::IsTemporary(const Name& name) noexcept {
  Vx::String bytes;
  return Posix::NameToBytes(name.GetText(), bytes) == 0 && Posix::IsTemporaryName(bytes.GetView());
}

}  // namespace IO
