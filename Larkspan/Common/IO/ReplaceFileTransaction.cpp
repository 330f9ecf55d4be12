#include "Larkspan/Common/IO/ReplaceFileTransaction.h"

#include "Larkspan/Common/IO/FailureGuard.h"
#include "Larkspan/Common/IO/FileOBinaryChannel.h"
#include "Larkspan/Common/IO/FileTransactionSteps.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/IO/Folder.h"
#include "foundation/IO/NewFile.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/Memory.h"

namespace Larkspan::Common::IO {
namespace {

// `status`: what the system refused on `item`, a location or a file.
template <class Item>
void Check(int status, const char* message, const Item& item, unsigned int line) {
  if (status == ::IO::StatusOutOfMemory) throw Vx::OutOfMemoryException("", __FILE__, line);
  if (status == 0) return;
  throw ::IO::WithDetail(FileTransactionException(message, __FILE__, line), item, status);
}

/// The file that is to be replaced, past all links.
struct OldFile {
  explicit OldFile(const ::IO::Location& named) : location(named) {
    int status = ::IO::fileSystem.GetAttributes(named, &attributes, false);
    if (status == 0 && attributes.type == ::IO::EntryType::SymbolicLink) {
      status = ::IO::fileSystem.Resolve(named, location);
      Check(status,
            "Failed to start replace file transaction: failed to follow the link at the file's "
            "location.",
            named, __LINE__);
      status = ::IO::fileSystem.GetAttributes(location, &attributes, false);
    }
    exists = status == 0;
    if (exists && attributes.type != ::IO::EntryType::File) {
      Check(::IO::StatusNotAFile, "Failed to start replace file transaction: it is not a file.",
            location, __LINE__);
    }
    if (status == ::IO::StatusNotFound) return;
    Check(status, "Failed to start replace file transaction: failed to look for the old file.",
          location, __LINE__);
  }

  ::IO::Location location;
  ::IO::Attributes attributes;
  bool exists = false;
};

}  // namespace

struct ReplaceFileTransaction::NewContent {
  explicit NewContent(const OldFile& old)
      : location(old.location),
        folder(old.location.GetParent(), ::IO::OnNotFound::Fail),
        file(folder, old.exists ? ::IO::NewFile::Access::Private : ::IO::NewFile::Access::Ordinary),
        channel(CheckMade(old).GetFile()) {}

  ::IO::NewFile& CheckMade(const OldFile& old) {
    Check(old.location.GetLastLocalName(name),
          "Failed to start replace file transaction: failed to get file name.", location, __LINE__);
    Check(file.GetStatus(), "Failed to start replace file transaction: failed to create new file.",
          location, __LINE__);
    return file;
  }

  void Replace() {
    Check(file.GetFile().Flush(),
          "Failed to commit replace file transaction: failed to sync new file.", location,
          __LINE__);
    Check(file.Complete(name, ::IO::NewFile::Naming::Replacing),
          "Failed to commit replace file transaction: failed to replace old file.", location,
          __LINE__);
    Check(folder.Flush(), "Failed to commit replace file transaction: failed to sync folder.",
          location, __LINE__);
  }

  ::IO::Location location;
  ::IO::Name name;
  ::IO::Folder folder;
  ::IO::NewFile file;
  FileOBinaryChannel channel;
};

ReplaceFileTransaction::ReplaceFileTransaction(const ::IO::Location& location) {
  CheckTransactionLocation(location, location);
  PresentFailuresAs<FileTransactionException>(
      "Failed to start replace file transaction.", __FILE__, __LINE__, [&] {
        const OldFile old(location);
        content.reset(Vx::New<NewContent>(old));
        if (!old.exists) return;
        Check(content->file.GetFile().TakeAccess(old.attributes, &ownerKept),
              "Failed to start replace file transaction: failed to keep the file's permissions.",
              old.location, __LINE__);
      });
}

ReplaceFileTransaction::~ReplaceFileTransaction() {
  AbortInDestructor(*this);
}

Vx::OBinaryChannel& ReplaceFileTransaction::GetChannel() noexcept {
  return content->channel;
}

void ReplaceFileTransaction::Commit() {
  CheckUnfinished(committed,
                  "Failed to commit replace file transaction: replace file transaction has already "
                  "been committed.",
                  aborted,
                  "Failed to commit replace file transaction: replace file transaction has already "
                  "been aborted.");
  if (failed) {
    throw FileTransactionException(
        "Failed to commit replace file transaction: an earlier commit has failed.", __FILE__,
        __LINE__);
  }
  failed = true;
  PresentFailuresAs<FileTransactionException>("Failed to commit replace file transaction.",
                                              __FILE__, __LINE__, [this] { content->Replace(); });
  failed = false;
  committed = true;
  content->file.GetFile().Close();  // the file is what was committed
}

void ReplaceFileTransaction::Abort() {
  CheckUnfinished(committed,
                  "Failed to abort replace file transaction: replace file transaction has already "
                  "been committed.",
                  aborted,
                  "Failed to abort replace file transaction: replace file transaction has already "
                  "been aborted.");
  aborted = true;
  content->file.Drop();
}

}  // namespace Larkspan::Common::IO
