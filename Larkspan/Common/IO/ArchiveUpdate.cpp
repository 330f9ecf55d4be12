#include "Larkspan/Common/IO/ArchiveUpdate.h"

#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/ArchiveFileReader.h"
#include "Larkspan/Common/IO/ArchiveHeaderSize.h"
#include "Larkspan/Common/IO/ArchiveOBinaryChannel.h"
#include "Larkspan/Common/IO/ChannelCopy.h"
#include "Larkspan/Common/IO/FailureGuard.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "foundation/IO/File.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/IO/Folder.h"
#include "foundation/Vx/MemoryOBinaryChannel.h"

namespace Larkspan::Common::IO {
namespace {

using ::IO::AccessDeniedTreatment;
using ::IO::DataSafety;

constexpr unsigned int CopyStepSize = 0x8000;

constexpr const char* OpenFailure = "Failed to update archive file: failed to open archive file.";

// Of a file's mode; the bits above them give rights that a copy must not have.
constexpr unsigned int PermissionBits = 0777;

[[noreturn]] void Fail(const char* message, unsigned int line) {
  throw ArchiveException(message, __FILE__, line);
}

void PutHeaders(const ArchiveHeaders& headers, ArchiveOBinaryChannel& archive) {
  for (const auto& [name, value] : headers.EnumeratePairs()) archive.PutHeader(name, value);
}

// The size, doubled until the headers fit. Fails as writing the header would.
unsigned int FittingSize(const ArchiveHeaders& headers, unsigned int size) {
  if (size == 0) return 0;
  return WrapFailuresAs<ArchiveException>(
      "Failed to update archive file: failed to write archive header.",
      [&] { return FitReservedHeaderSize(headers, size); });
}

// The content of a file that is open for more than reading.
class OpenFileInput final : public Vx::IBinaryChannel {
 public:
  explicit OpenFileInput(::IO::File& target) noexcept : file(target) {}

  using IBinaryChannel::Read;
  [[nodiscard]] unsigned int Read(char* buffer, unsigned int size, ReadSomeModeSelector) override {
    unsigned int count = 0;
    const int status = file.ReadBin(buffer, size, &count);
    if (status == 0 || status == ::IO::StatusEndOfInput) return count;
    throw Vx::IOException("Failed to read from file binary input channel.", __FILE__, __LINE__);
  }
  [[nodiscard]] unsigned __int64 GetAvailable() const override { return 0; }
  void Close() override {}

 private:
  ::IO::File& file;
};

// Writes the headers, which fit `size`, unless the file has another reserved size, since somebody
// else has rewritten it: the entries would no longer stand where the header says. Returns the
// reserved size that the file has.
unsigned int TryInPlace(const ::IO::Location& location, const ArchiveHeaders& headers,
                        unsigned int size) {
  ::IO::File file(location, ::IO::OnNotFound::Fail);
  if (file.GetStatus() != 0 ||
      file.Open(::IO::OpenMode::Update, AccessDeniedTreatment::Report) != 0) {
    Fail(OpenFailure, __LINE__);
  }
  OpenFileInput input(file);
  const unsigned int present = WrapFailuresAs<ArchiveException>(
      OpenFailure, [&] { return ArchiveIBinaryChannel(input).GetReservedHeaderSize(); });
  if (present != size) return present;

  Vx::MemoryOBinaryChannel block;
  ArchiveOBinaryChannel archive(block, size);
  PutHeaders(headers, archive);
  archive.Flush();
  // One call for the whole block: a kill leaves all or nothing of each 4096 bytes.
  if (file.Seek(::IO::SeekOrigin::Begin, 0) != 0 ||
      file.WriteBin(block.GetBuffer(), block.GetSize(), nullptr) != 0) {
    Fail("Failed to update archive file: failed to write archive file.", __LINE__);
  }
  if (file.Flush() != 0) {
    Fail("Failed to update archive file: failed to flush archive file.", __LINE__);
  }
  return size;
}

// The location of the file itself, where `location` is a link to it: names are swapped there.
::IO::Location FollowLink(const ::IO::Location& location) {
  ::IO::Attributes attributes;
  ::IO::Location resolved;
  const bool isLink = ::IO::fileSystem.GetAttributes(location, &attributes, false) == 0 &&
                      attributes.type == ::IO::EntryType::SymbolicLink;
  return isLink && ::IO::fileSystem.Resolve(location, resolved) == 0 ? resolved : location;
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
  ::IO::Attributes attributes;
  const bool isFolder = ::IO::fileSystem.GetAttributes(temporary, &attributes, false) == 0 &&
                        attributes.type == ::IO::EntryType::Folder;
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
  const Vx::OBinaryChannelRef targetFile(
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

void ExchangeFiles(const ::IO::Location& archive, const ::IO::Location& temporary) {
  ::IO::Location folderLocation;
  ::IO::Name archiveName;
  ::IO::Name temporaryName;
  if (archive.Split(folderLocation, archiveName) != 0 ||
      temporary.GetLastLocalName(temporaryName) != 0) {
    Fail("Failed to update archive file: failed to get target folder location.", __LINE__);
  }
  ::IO::Folder folder(folderLocation, ::IO::OnNotFound::Fail);
  if (folder.GetStatus() != 0) {
    Fail("Failed to update archive file: failed to get target folder.", __LINE__);
  }
  if (folder.Exchange(archiveName, temporaryName, AccessDeniedTreatment::Report) != 0) {
    Fail("Failed to update archive file: failed to exchange archive and temporary archive files.",
         __LINE__);
  }
}

void Rewrite(const ::IO::Location& location, const ArchiveHeaders& headers, unsigned int size) {
  const ::IO::Location archive = FollowLink(location);
  const ::IO::Location temporary = GetRewriteLocation(archive);
  try {
    CopyArchive(archive, temporary, headers, size);
    ExchangeFiles(archive, temporary);
  } catch (const VxException&) {
    DeleteTemporary(temporary);
    throw;
  }
  // The temporary name leads to the old archive now.
  DeleteTemporary(temporary);
}

}  // namespace

::IO::Location GetRewriteLocation(const ::IO::Location& location) {
  ::IO::Location temporary = FollowLink(location).GetSibling(u".updated");
  if (!temporary.IsValid()) {
    Fail("Failed to update archive file: failed to get temporary file location.", __LINE__);
  }
  return temporary;
}

bool NeedsRewrite(const ArchiveHeaders& headers, unsigned int reservedSize) {
  return reservedSize == 0 || FittingSize(headers, reservedSize) != reservedSize;
}

unsigned int UpdateArchiveHeaders(const ::IO::Location& location, const ArchiveHeaders& headers,
                                  unsigned int reservedSize) {
  unsigned int expected = reservedSize;
  while (!NeedsRewrite(headers, expected)) {
    const unsigned int present = TryInPlace(location, headers, expected);
    if (present == expected) return present;
    expected = present;
  }
  const unsigned int size = FittingSize(headers, expected);
  Rewrite(location, headers, size);
  return size;
}

}  // namespace Larkspan::Common::IO
