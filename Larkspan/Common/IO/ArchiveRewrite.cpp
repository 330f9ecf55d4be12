#include "Larkspan/Common/IO/ArchiveRewrite.h"

#include <utility>

#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "Larkspan/Common/IO/LocationChecks.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/IO/Folder.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/IOException.h"

namespace Larkspan::Common::IO {
namespace {

using ::IO::AccessDeniedTreatment;
using ::IO::DataSafety;

template <class Item>
[[noreturn]] void Fail(const char* message, const Item& item, int status, unsigned int line) {
  throw ::IO::WithDetail(ArchiveException(message, __FILE__, line), item, status);
}

// The location of the file itself, where `location` is a link to it: names are swapped there.
::IO::Location FollowLink(const ::IO::Location& location) {
  ::IO::Attributes attributes;
  ::IO::Location resolved;
  const bool isLink = ::IO::fileSystem.GetAttributes(location, &attributes, false) == 0 &&
                      attributes.type == ::IO::EntryType::SymbolicLink;
  return isLink && ::IO::fileSystem.Resolve(location, resolved) == 0 ? resolved : location;
}

// Whether the file has that name: 0 if it does, `StatusNotFound` if it leads to another one, else
// why that isn't known.
int LooksAt(const ::IO::Location& location, const ::IO::File& file) {
  ::IO::Attributes named;
  ::IO::Attributes opened;
  int status = ::IO::fileSystem.GetAttributes(location, &named, false);
  if (status == 0) status = file.GetAttributes(&opened);
  if (status != 0) return status;
  return named.IsSameItem(opened) ? 0 : ::IO::StatusNotFound;
}

bool IsAt(const ::IO::Location& location, const ::IO::File& file) {
  return LooksAt(location, file) == 0;
}

void RemoveFrom(const ::IO::Location& location, const ::IO::File& file) {
  if (!IsAt(location, file)) return;
  ::IO::fileSystem.Delete(location, DataSafety::None, AccessDeniedTreatment::Report);
}

::IO::File MakeCopy(const ::IO::Location& location) {
  ::IO::File file(location, ::IO::OnNotFound::Ignore);
  int status = file.GetStatus();
  if (status == 0) {
    status = file.Open(::IO::OpenMode::WriteNewPrivate, AccessDeniedTreatment::Report);
  }
  if (status == 0) return file;
  throw ::IO::WithDetail(
      Vx::IOException("Failed to create file binary output channel: failed to open file.", __FILE__,
                      __LINE__),
      file, status);
}

// Gives the copy to the owner of the archive while there is nothing in it to read. Returns whether
// the system let it have all of owner, group and permissions; it never has wider ones.
bool KeepOwner(const ::IO::File& archive, ::IO::File& copy) {
  ::IO::Attributes old;
  bool kept = false;
  int status = archive.GetAttributes(&old);
  if (status == 0) status = copy.TakeAccess(old, &kept);
  if (status != 0) {
    Fail("Failed to update archive file: failed to keep its permissions.", copy, status, __LINE__);
  }
  return kept;
}

// The names of the archive and its copy, in one folder.
class Names final {
 public:
  explicit Names(const ::IO::Location& location)
      : archive(FollowLink(location)), copy(GetRewriteLocation(archive)) {}

  [[nodiscard]] const ::IO::Location& GetCopy() const noexcept { return copy; }

  // Swaps them.
  void Exchange() const {
    ::IO::Location folderLocation;
    ::IO::Name archiveName;
    ::IO::Name copyName;
    int status = archive.Split(folderLocation, archiveName);
    if (status == 0) status = copy.GetLastLocalName(copyName);
    if (status != 0) {
      Fail("Failed to update archive file: failed to get target folder location.", archive, status,
           __LINE__);
    }
    ::IO::Folder folder(folderLocation, ::IO::OnNotFound::Fail);
    status = folder.GetStatus();
    if (status != 0) {
      Fail("Failed to update archive file: failed to get target folder.", folderLocation, status,
           __LINE__);
    }
    status = folder.Exchange(archiveName, copyName, AccessDeniedTreatment::Report);
    if (status != 0) {
      Fail(
          "Failed to update archive file: failed to exchange archive and temporary archive "
          "files.",
          archive, status, __LINE__);
    }
  }

 private:
  ::IO::Location archive;
  ::IO::Location copy;
};

}  // namespace

::IO::Location GetRewriteLocation(const ::IO::Location& location) {
  const ::IO::Location archive = FollowLink(location);
  CheckMemory(archive);
  ::IO::Location copy = archive.GetSibling(u".updated");
  CheckMemory(copy);
  if (!copy.IsValid()) {
    throw ArchiveException("Failed to update archive file: failed to get temporary file location.",
                           __FILE__, __LINE__);
  }
  return copy;
}

// What changes of this archive that died have left: none that lives can, under the archive's lock.
// What has the copy's name is never emptied instead of that: it may be a link, and lead anywhere.
void RemoveRewriteLeftovers(const ::IO::Location& location, const ::IO::File& locked) {
  const ::IO::Location archive = FollowLink(location);
  const ::IO::Location copy = archive.GetSibling(u".updated");
  ::IO::Attributes attributes;
  if (::IO::fileSystem.GetAttributes(copy, &attributes, false) == 0 &&
      attributes.type != ::IO::EntryType::Folder) {
    ::IO::fileSystem.Delete(copy, DataSafety::None, AccessDeniedTreatment::Report);
  }
  ::IO::Location folder;
  ::IO::Name name;
  if (archive.Split(folder, name) == 0) {
    ::IO::Folder(folder, ::IO::OnNotFound::Ignore).RemoveLeftovers(locked);
  }
}

bool RewriteArchive(const ::IO::Location& location, ArchiveLock& lock,
                    const std::function<void(Vx::OBinaryChannel&)>& write) {
  const Names names(location);
  ::IO::File copy = MakeCopy(names.GetCopy());
  bool ownerKept = false;
  try {
    // Who finds it under the archive's name has to wait until its old name is free.
    if (const int status = copy.Lock(0); status != 0) {
      Fail("Failed to update archive file: failed to lock archive file.", copy, status, __LINE__);
    }
    ownerKept = KeepOwner(lock.GetFile(), copy);
    FileOBinaryChannel output(copy);
    write(output);
    names.Exchange();
    if (const int status = LooksAt(names.GetCopy(), lock.GetFile()); status != 0) {
      // Somebody who doesn't lock has put another file under the name: that one is to stay.
      names.Exchange();
      Fail("Failed to update archive file: the file was replaced meanwhile.", names.GetCopy(),
           status, __LINE__);
    }
  } catch (...) {
    RemoveFrom(names.GetCopy(), copy);
    throw;
  }
  RemoveFrom(names.GetCopy(), lock.GetFile());
  lock.TakeOver(std::move(copy));
  return ownerKept;
}

}  // namespace Larkspan::Common::IO
