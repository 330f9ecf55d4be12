#include "Larkspan/Common/IO/ArchiveExtraction.h"

#include <utility>

#include "Larkspan/Common/IO/ArchiveException.h"
#include "Larkspan/Common/IO/ArchiveFileReader.h"
#include "Larkspan/Common/IO/ChannelCopy.h"
#include "Larkspan/Common/IO/EntryLocation.h"
#include "Larkspan/Common/IO/FailureGuard.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "Larkspan/Common/IO/LocationChecks.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/IO/FolderTree.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/BufferedOBinaryChannel.h"
#include "foundation/Vx/IllegalArgumentException.h"

namespace Larkspan::Common::IO {
namespace {

constexpr unsigned int WriteBufferSize = 0x40000;
constexpr unsigned int CopyStepSize = 0x10000;

void CreateTargetFolder(const ::IO::Location& folder) {
  CheckMemory(folder);
  if (!folder.IsValid()) {
    throw Vx::IllegalArgumentException("Invalid target folder location: location is not valid.",
                                       __FILE__, __LINE__);
  }
  if (folder.IsEmpty()) {
    throw Vx::IllegalArgumentException("Invalid target folder location: location is empty.",
                                       __FILE__, __LINE__);
  }
  if (const int status = ::IO::fileSystem.CreateFolderTree(folder); status != 0) {
    throw ::IO::WithDetail(
        ArchiveException("Failed to extract archive file: failed to create target folder.",
                         __FILE__, __LINE__),
        folder, status);
  }
}

constexpr const char* LinkOnTheWay = "A symbolic link stands on the way to the extracted file.";

// The folder that the file belongs into, made if it is missing; held by the tree.
::IO::Folder& EnterParent(::IO::FolderTree& tree, const ::IO::Location& location,
                          ::IO::Name& name) {
  ::IO::Location parent;
  int status = location.Split(parent, name);
  if (status != 0) {
    throw ::IO::WithDetail(
        Vx::IOException("Failed to get parent folder of extracted file.", __FILE__, __LINE__),
        location, status);
  }
  ::IO::Folder* folder = nullptr;
  status = tree.Enter(parent, ::IO::FolderTree::Missing::Make, &folder);
  if (status == ::IO::StatusLinkOnTheWay) {
    throw ::IO::WithDetail(Vx::IOException(LinkOnTheWay, __FILE__, __LINE__), parent, status);
  }
  if (status != 0) {
    throw ::IO::WithDetail(
        Vx::IOException("Failed to create parent folder of extracted file.", __FILE__, __LINE__),
        parent, status);
  }
  return *folder;
}

// What has the name now must be a file, and not the archive that is being read.
void CheckItem(const ::IO::Attributes& present, const ::IO::Attributes& archive) {
  if (present.type == ::IO::EntryType::SymbolicLink) {
    throw Vx::IOException(LinkOnTheWay, __FILE__, __LINE__);
  }
  if (present.type == ::IO::EntryType::Other) {
    throw Vx::IOException("A device or pipe stands at the place of the extracted file.", __FILE__,
                          __LINE__);
  }
  if (present.IsSameItem(archive)) {
    throw Vx::IOException("The archive stands at the place of the extracted file.", __FILE__,
                          __LINE__);
  }
}

// Opens the file empty. It is looked at again before anything in it is lost: another process may
// have put something else under the name.
::IO::File OpenTarget(const ::IO::Folder& folder, const ::IO::Name& name,
                      const ::IO::Attributes& archive) {
  ::IO::Attributes present;
  if (folder.GetAttributes(name, &present) == 0) CheckItem(present, archive);
  ::IO::File file(folder, name, ::IO::OnNotFound::Ignore);
  int status = file.Open(::IO::OpenMode::Write, ::IO::AccessDeniedTreatment::Report);
  if (status == 0) {
    if (file.GetAttributes(&present) == 0) CheckItem(present, archive);
    status = file.SetSize(0);
  }
  if (status != 0) {
    throw ::IO::WithDetail(
        Vx::IOException("Failed to create file binary output channel: failed to open file.",
                        __FILE__, __LINE__),
        file, status);
  }
  return file;
}

void ExtractEntry(ArchiveIBinaryChannel& archive, ::IO::File&& target) {
  const Vx::OBinaryChannelRef file(Vx::New<FileOBinaryChannel>(std::move(target)));
  Vx::BufferedOBinaryChannel buffered(file, WriteBufferSize);
  CopyChannel(archive, buffered, CopyStepSize);
  buffered.Close();
}

void ExtractEntries(const ::IO::Location& archive, const ::IO::Location& folder) {
  ArchiveFileReader reader(archive, FileShare::ShareRead);
  ::IO::Attributes archiveFacts;
  static_cast<void>(::IO::fileSystem.GetAttributes(archive, &archiveFacts, true));
  ::IO::FolderTree tree(folder);
  for (auto entry = reader.GetNextEntry(); entry; entry = reader.GetNextEntry()) {
    const ::IO::Location location = LocationFromEntryName(folder, entry->GetName());
    ::IO::Name name;
    const ::IO::Folder& parent = EnterParent(tree, location, name);
    ExtractEntry(reader.GetChannel(), OpenTarget(parent, name, archiveFacts));
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
