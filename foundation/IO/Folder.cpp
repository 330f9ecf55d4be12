#include "foundation/IO/Folder.h"

#include <utility>

#include "foundation/IO/File.h"
#include "foundation/IO/MemoryGuard.h"
#include "foundation/IO/posix/Descriptor.h"
#include "foundation/IO/posix/ErrorStatus.h"
#include "foundation/IO/posix/FolderEntries.h"
#include "foundation/IO/posix/ItemAttributes.h"
#include "foundation/IO/posix/NameExchange.h"
#include "foundation/IO/posix/PathText.h"
#include "foundation/IO/posix/UnnamedFile.h"

namespace IO {

Folder::Folder(const Location& location, OnNotFound onNotFound) noexcept {
  Vx::String path;
  int error = Posix::LocationToBytes(location, path);
  if (error == 0) error = Posix::OpenFolder(path, &descriptor);
  if (error == 0 || (onNotFound == OnNotFound::Ignore && Posix::IsMissing(error))) return;
  status = location.IsValid() ? Posix::FileSystemStatus(error) : location.GetStatus();
}

Folder::Folder(Folder&& source) noexcept
    : status(source.status), descriptor(std::exchange(source.descriptor, -1)) {}

Folder& Folder::operator=(Folder&& source) noexcept {
  std::swap(status, source.status);
  std::swap(descriptor, source.descriptor);
  return *this;
}

Folder::~Folder() {
  if (descriptor >= 0) static_cast<void>(Posix::Close(descriptor));
}

int Folder::Exchange(const Name& first, const Name& second, AccessDeniedTreatment) noexcept {
  if (descriptor < 0) return status != 0 ? status : StatusNotFound;
  Vx::String firstBytes;
  Vx::String secondBytes;
  int error = Posix::NameToBytes(first.GetText(), firstBytes);
  if (error == 0) error = Posix::NameToBytes(second.GetText(), secondBytes);
  if (error == 0) error = Posix::ExchangeNames(descriptor, firstBytes, secondBytes);
  return Posix::FileSystemStatus(error);
}

void Folder::RemoveLeftovers(const File& locked) noexcept {
  if (descriptor >= 0) Posix::RemoveDeadSpares(descriptor, locked.descriptor);
}

// Hands the bytes of the name to `work`, which returns a value of `errno`.
template <class Work>
int Folder::OnName(const Name& name, Work&& work) const noexcept {
  if (descriptor < 0) return status != 0 ? status : StatusNotFound;
  Vx::String bytes;
  int error = Posix::NameToBytes(name.GetText(), bytes);
  if (error == 0) error = work(bytes);
  return Posix::FileSystemStatus(error);
}

int Folder::GetAttributes(const Name& name, Attributes* attributes) const noexcept {
  return OnName(name, [&](const Vx::String& bytes) {
    return Posix::ReadAttributes(descriptor, bytes, false, attributes);
  });
}

int Folder::SetFolderAttributes(const Name& name, const Attributes& attributes) const noexcept {
  return OnName(name, [&](const Vx::String& bytes) {
    return Posix::WriteFolderAttributes(descriptor, bytes, attributes);
  });
}

int Folder::SetTime(const Name& name, const Attributes& attributes) const noexcept {
  return OnName(name, [&](const Vx::String& bytes) {
    return Posix::WriteTime(descriptor, bytes, attributes);
  });
}

int Folder::SetOwner(const Name& name, const Attributes& attributes) const noexcept {
  return OnName(name, [&](const Vx::String& bytes) {
    return Posix::WriteOwner(descriptor, bytes, attributes);
  });
}

// `make` makes a link under the name that it is given.
template <class Make>
int Folder::PutLink(const Name& name, Naming naming, Make&& make) const noexcept {
  return OnName(name, [&](const Vx::String& bytes) {
    if (naming == Naming::IfFree) return make(bytes);
    return Posix::PutReplacing(descriptor, bytes, make);
  });
}

int Folder::MakeSymbolicLink(const Name& name, const Vx::String& target,
                             Naming naming) const noexcept {
  if (target.Contains('\0')) return StatusInvalidArgument;
  return PutLink(name, naming, [&](const Vx::String& bytes) {
    return Posix::MakeSymbolicLink(descriptor, bytes, target);
  });
}

int Folder::MakeHardLink(const Name& name, const Folder& source, const Name& from,
                         Naming naming) const noexcept {
  if (source.descriptor < 0) return source.status != 0 ? source.status : StatusNotFound;
  Vx::String old;
  if (const int error = Posix::NameToBytes(from.GetText(), old); error != 0) {
    return Posix::FileSystemStatus(error);
  }
  return PutLink(name, naming, [&](const Vx::String& bytes) {
    return Posix::LinkName(source.descriptor, old, descriptor, bytes);
  });
}

int Folder::MakeFolder(const Name& name) const noexcept {
  return OnName(name,
                [&](const Vx::String& bytes) { return Posix::MakeFolderIn(descriptor, bytes); });
}

int Folder::Delete(const Name& name) const noexcept {
  return OnName(name,
                [&](const Vx::String& bytes) { return Posix::RemoveItemIn(descriptor, bytes); });
}

int Folder::GetNames(Names& names) const noexcept {
  if (descriptor < 0) return status != 0 ? status : StatusNotFound;
  return GuardMemory(StatusOutOfMemory, [&] {
    Names found;
    const int error = Posix::ListNames(descriptor, found);
    if (error == 0) names.swap(found);
    return Posix::FileSystemStatus(error);
  });
}

int Folder::Flush() noexcept {
  if (descriptor < 0) return status != 0 ? status : StatusNotFound;
  return Posix::FileSystemStatus(Posix::SyncAll(descriptor));
}

}  // namespace IO
