#include "Larkspan/Common/IO/ArchiveUpdate.h"

#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/ArchiveFileReader.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "Larkspan/Common/IO/ChannelCopy.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "foundation/IO/File.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/IO/Folder.h"
#include "foundation/Vx/MemoryOBinaryChannel.h"
#include "foundation/Vx/OutOfMemoryException.h"

namespace Larkspan::Common::IO {
namespace {

using ::IO::AccessDeniedTreatment;
using ::IO::DataSafety;

constexpr unsigned int CopyStepSize = 0x8000;

constexpr const char* OpenFailure = "Failed to update archive file: failed to open archive file.";

// Of a file's mode; the bits above them give rights that a copy must not have.
constexpr unsigned int PermissionBits = 0777;

// The largest size that can be doubled and still be counted in 32 bits.
constexpr unsigned int MaxDoubledSize = 0x7FFFFFFFU;

[[noreturn]] void Fail(const char* message, unsigned int line) {
  throw ArchiveException(message, __FILE__, line);
}

void PutHeaders(const ArchiveHeaders& headers, ArchiveOBinaryChannel& archive) {
  for (const auto& [name, value] : headers.EnumeratePairs()) archive.PutHeader(name, value);
}

// Builds a header block of `size` bytes. False if the headers don't fit.
bool BuildHeaderBlock(const ArchiveHeaders& headers, unsigned int size,
                      Vx::MemoryOBinaryChannel& block) {
  try {
    ArchiveOBinaryChannel archive(block, size);
    PutHeaders(headers, archive);
    archive.Flush();
    archive.Close();
    return true;
  } catch (const Vx::OutOfMemoryException&) {
    throw;
  } catch (const VxException& exception) {
    if (block.GetSize() >= size && size <= MaxDoubledSize) return false;
    throw ArchiveException("Failed to update archive file: failed to write archive header.",
                           __FILE__, __LINE__, exception);
  }
}

// The reserved size that the file has now: somebody else may have rewritten it.
unsigned int ReadReservedSize(const ::IO::Location& location) {
  try {
    ArchiveFileReader reader(location, FileShare::NoShare);
    return reader.GetChannel().GetReservedHeaderSize();
  } catch (const Vx::OutOfMemoryException&) {
    throw;
  } catch (const VxException& exception) {
    throw ArchiveException(OpenFailure, __FILE__, __LINE__, exception);
  }
}

// Writes the block, unless the file has another reserved size: the entries would no longer stand
// where the header says. Gives the size that the file has.
unsigned int WriteInPlace(const ::IO::Location& location, const Vx::MemoryOBinaryChannel& block) {
  ::IO::File file(location, ::IO::OnNotFound::Fail);
  if (file.GetStatus() != 0) Fail(OpenFailure, __LINE__);
  const unsigned int size = ReadReservedSize(location);
  if (size != block.GetSize()) return size;
  if (file.Open(::IO::OpenMode::Write, AccessDeniedTreatment::Report) != 0) {
    Fail(OpenFailure, __LINE__);
  }
  // One call for the whole block: a kill leaves all or nothing of each 4096 bytes. The file object
  // closes itself if one of these fails.
  if (file.WriteBin(block.GetBuffer(), block.GetSize(), nullptr) != 0) {
    Fail("Failed to update archive file: failed to write archive file.", __LINE__);
  }
  if (file.Flush() != 0) {
    Fail("Failed to update archive file: failed to flush archive file.", __LINE__);
  }
  file.Close();
  return size;
}

struct RewritePlaces {
  ::IO::Location temporary;
  ::IO::Location folder;
  ::IO::Name archiveName;
  ::IO::Name temporaryName;
};

// The place of the file itself, where `location` is a link to it: names are swapped there.
::IO::Location FollowLink(const ::IO::Location& location) {
  ::IO::Attributes facts;
  ::IO::Location resolved;
  const bool isLink = ::IO::fileSystem.GetAttributes(location, &facts, false) == 0 &&
                      facts.type == ::IO::EntryType::SymbolicLink;
  return isLink && ::IO::fileSystem.Resolve(location, resolved) == 0 ? resolved : location;
}

RewritePlaces FindRewritePlaces(const ::IO::Location& location) {
  constexpr const char* TemporaryFailure =
      "Failed to update archive file: failed to get temporary file location.";
  RewritePlaces places;
  places.temporary = location;
  if (places.temporary.GetLastLocalName(places.archiveName) != 0) Fail(TemporaryFailure, __LINE__);
  if (places.temporary.DeleteLastLocalName() != 0) Fail(TemporaryFailure, __LINE__);
  places.folder = places.temporary;
  if (places.folder.GetStatus() != 0) {
    Fail("Failed to update archive file: failed to get target folder location.", __LINE__);
  }
  places.temporaryName = places.archiveName;
  places.temporaryName.GetText().Append(u".updated");
  if (places.temporary.AppendToLocal(places.temporaryName) != 0) Fail(TemporaryFailure, __LINE__);
  return places;
}

// The new file becomes as private as the old one while there is nothing in it to read.
void KeepMode(const ::IO::Location& source, const ::IO::Location& target) {
  ::IO::Attributes old;
  if (::IO::fileSystem.GetAttributes(source, &old, true) != 0) return;  // reading it will tell why
  old.mode &= PermissionBits;
  ::IO::File file(target, ::IO::OnNotFound::Fail);
  ::IO::Attributes made;
  const bool kept = file.Open(::IO::OpenMode::Write, AccessDeniedTreatment::Report) == 0 &&
                    file.SetAttributes(old) == 0;
  const bool wider = !kept && ::IO::fileSystem.GetAttributes(target, &made, true) == 0 &&
                     (made.mode & ~old.mode) != 0;
  if (wider) Fail("Failed to update archive file: failed to keep its permissions.", __LINE__);
}

// Whatever file stands under the temporary name goes: the old archive, or what an update before
// left behind. That is never emptied instead: the name may be a link, and lead to the archive.
void DeleteTemporary(const ::IO::Location& temporary) noexcept {
  ::IO::Attributes facts;
  const bool isFolder = ::IO::fileSystem.GetAttributes(temporary, &facts, false) == 0 &&
                        facts.type == ::IO::EntryType::Folder;
  if (!isFolder) {
    ::IO::fileSystem.Delete(temporary, DataSafety::None, AccessDeniedTreatment::Report);
  }
}

void CopyEntry(ArchiveIBinaryChannel& source, const ArchiveEntry& entry,
               ArchiveOBinaryChannel& target) {
  ArchiveHeaders headers(0, 0);
  for (const auto& [name, value] : entry.EnumerateHeaders()) headers.Put(name, value);
  target.PutNextEntry(entry.GetName(), headers, entry.GetMethod());
  CopyChannel(source, target, CopyStepSize);
  source.CloseEntry();
  target.CloseEntry();
}

void CopyArchive(const ::IO::Location& location, const ::IO::Location& temporary,
                 const ArchiveHeaders& headers, unsigned int size) {
  DeleteTemporary(temporary);
  const Vx::Ref<Vx::OBinaryChannel, Vx::AtomicCounter> targetFile(
      Vx::New<FileOBinaryChannel>(temporary, false, FileShare::NoShare));
  KeepMode(location, temporary);
  ArchiveOBinaryChannel target(targetFile, size);
  ArchiveFileReader source(location, FileShare::NoShare);
  PutHeaders(headers, target);
  for (auto entry = source.GetNextEntry(); entry; entry = source.GetNextEntry()) {
    CopyEntry(source.GetChannel(), *entry, target);
  }
  source.Close();
  target.Flush();
  target.Close();
}

void ExchangeFiles(const RewritePlaces& places) {
  ::IO::Folder folder(places.folder, ::IO::OnNotFound::Fail);
  if (folder.GetStatus() != 0) {
    Fail("Failed to update archive file: failed to get target folder.", __LINE__);
  }
  if (folder.Exchange(places.archiveName, places.temporaryName, AccessDeniedTreatment::Report) !=
      0) {
    Fail("Failed to update archive file: failed to exchange archive and temporary archive files.",
         __LINE__);
  }
}

void Rewrite(const ::IO::Location& location, const ArchiveHeaders& headers, unsigned int size) {
  const ::IO::Location archive = FollowLink(location);
  const RewritePlaces places = FindRewritePlaces(archive);
  try {
    CopyArchive(archive, places.temporary, headers, size);
    ExchangeFiles(places);
  } catch (const VxException&) {
    DeleteTemporary(places.temporary);
    throw;
  }
  // The temporary name leads to the old archive now.
  DeleteTemporary(places.temporary);
}

}  // namespace

unsigned int UpdateArchiveHeaders(const ::IO::Location& location, const ArchiveHeaders& headers,
                                  unsigned int reservedSize) {
  unsigned int size = reservedSize;
  while (size != 0) {
    Vx::MemoryOBinaryChannel block;
    if (BuildHeaderBlock(headers, size, block)) {
      if (size != reservedSize) break;
      reservedSize = WriteInPlace(location, block);
      if (size == reservedSize) return size;
      size = reservedSize;
    } else {
      size *= 2;
    }
  }
  Rewrite(location, headers, size);
  return size;
}

}  // namespace Larkspan::Common::IO
