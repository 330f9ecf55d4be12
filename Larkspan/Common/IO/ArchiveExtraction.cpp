#include "Larkspan/Common/IO/ArchiveExtraction.h"

#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/ArchiveFileReader.h"
#include "Larkspan/Common/IO/ChannelCopy.h"
#include "Larkspan/Common/IO/EntryLocation.h"
#include "Larkspan/Common/IO/FailureGuard.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/Vx/BufferedOBinaryChannel.h"
#include "foundation/Vx/IllegalArgumentException.h"

namespace Larkspan::Common::IO {
namespace {

constexpr unsigned int WriteBufferSize = 0x40000;
constexpr unsigned int CopyStepSize = 0x10000;

void CreateTargetFolder(const ::IO::Location& folder) {
  if (!folder.IsValid()) {
    throw Vx::IllegalArgumentException("Invalid target folder location: location is not valid.",
                                       __FILE__, __LINE__);
  }
  if (folder.IsEmpty()) {
    throw Vx::IllegalArgumentException("Invalid target folder location: location is empty.",
                                       __FILE__, __LINE__);
  }
  if (::IO::fileSystem.CreateFolderTree(folder) != 0) {
    throw ArchiveException("Failed to extract archive file: failed to create target folder.",
                           __FILE__, __LINE__);
  }
}

void CreateParentOfFile(const ::IO::Location& location) {
  const ::IO::Location parent = location.GetParent();
  if (!parent.IsValid()) {
    throw Vx::IOException("Failed to get parent folder of extracted file.", __FILE__, __LINE__);
  }
  if (::IO::fileSystem.CreateFolderTree(parent) != 0) {
    throw Vx::IOException("Failed to create parent folder of extracted file.", __FILE__, __LINE__);
  }
}

// What is at the location now must be a file, and not the archive that is being read.
void CheckPlace(const ::IO::Location& location, const ::IO::Attributes& archive) {
  ::IO::Attributes present;
  if (::IO::fileSystem.GetAttributes(location, &present, true) != 0) return;
  if (present.type == ::IO::EntryType::Other) {
    throw Vx::IOException("A device or pipe stands at the place of the extracted file.", __FILE__,
                          __LINE__);
  }
  if (present.IsSameItem(archive)) {
    throw Vx::IOException("The archive stands at the place of the extracted file.", __FILE__,
                          __LINE__);
  }
}

void ExtractEntry(ArchiveIBinaryChannel& archive, const ::IO::Location& location) {
  CreateParentOfFile(location);
  const Vx::OBinaryChannelRef file(
      Vx::New<FileOBinaryChannel>(location, false, FileShare::NoShare));
  Vx::BufferedOBinaryChannel buffered(file, WriteBufferSize);
  CopyChannel(archive, buffered, CopyStepSize);
  buffered.Close();
}

void ExtractEntries(const ::IO::Location& archive, const ::IO::Location& folder) {
  ArchiveFileReader reader(archive, FileShare::ShareRead);
  ::IO::Attributes archiveFacts;
  static_cast<void>(::IO::fileSystem.GetAttributes(archive, &archiveFacts, true));
  for (auto entry = reader.GetNextEntry(); entry; entry = reader.GetNextEntry()) {
    const ::IO::Location location = LocationFromEntryName(folder, entry->GetName());
    CheckWayToEntry(folder, location);
    CheckPlace(location, archiveFacts);
    ExtractEntry(reader.GetChannel(), location);
  }
  reader.Close();
}

}  // namespace

void ExtractArchive(const ::IO::Location& archive, const ::IO::Location& folder) {
  CreateTargetFolder(folder);
  PresentFailuresAs<Vx::IOException>("Failed to extract archive file.", __FILE__, __LINE__,
                                     [&] { ExtractEntries(archive, folder); });
}

}  // namespace Larkspan::Common::IO
