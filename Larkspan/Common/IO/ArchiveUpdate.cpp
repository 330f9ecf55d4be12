#include "Larkspan/Common/IO/ArchiveUpdate.h"

#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/ArchiveFileReader.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "Larkspan/Common/IO/ChannelCopy.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/IO/Folder.h"
#include "foundation/Vx/MemoryOBinaryChannel.h"
#include "foundation/Vx/OutOfMemoryException.h"

namespace Larkspan::Common::IO {
namespace {

using ::IO::AccessDeniedTreatment;
using ::IO::DataSafety;

constexpr unsigned int CopyStepSize = 0x8000;

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

void WriteInPlace(const ::IO::Location& location, const Vx::MemoryOBinaryChannel& block) {
  constexpr const char* OpenFailure = "Failed to update archive file: failed to open archive file.";
  ::IO::File file(location, ::IO::OnNotFound::Fail);
  if (file.GetStatus() != 0) Fail(OpenFailure, __LINE__);
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
}

struct RewritePlaces {
  ::IO::Location temporary;
  ::IO::Location folder;
  ::IO::Name archiveName;
  ::IO::Name temporaryName;
};

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

// The new file is as private as the old one, before there is anything in it to read. Where the
// file system has no modes, there is nothing to keep.
void KeepMode(const ::IO::Location& source, const ::IO::Location& target) {
  ::IO::Attributes attributes;
  if (::IO::fileSystem.GetAttributes(source, &attributes, true) == 0) {
    static_cast<void>(::IO::fileSystem.SetAttributes(target, attributes));
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

void DeleteTemporary(const RewritePlaces& places) noexcept {
  ::IO::fileSystem.Delete(places.temporary, DataSafety::None, AccessDeniedTreatment::Report);
}

void Rewrite(const ::IO::Location& location, const ArchiveHeaders& headers, unsigned int size) {
  const RewritePlaces places = FindRewritePlaces(location);
  try {
    CopyArchive(location, places.temporary, headers, size);
    ExchangeFiles(places);
  } catch (const VxException&) {
    DeleteTemporary(places);
    throw;
  }
  // The temporary name leads to the old archive now.
  DeleteTemporary(places);
}

}  // namespace

unsigned int UpdateArchiveHeaders(const ::IO::Location& location, const ArchiveHeaders& headers,
                                  unsigned int reservedSize) {
  unsigned int size = reservedSize;
  while (size != 0) {
    Vx::MemoryOBinaryChannel block;
    if (BuildHeaderBlock(headers, size, block)) {
      if (size != reservedSize) break;
      WriteInPlace(location, block);
      return size;
    }
    size *= 2;
  }
  Rewrite(location, headers, size);
  return size;
}

}  // namespace Larkspan::Common::IO
