#include "Larkspan/Common/IO/IOUtilities.h"

#include "Larkspan/Common/IO/LocationChecks.h"
#include "Larkspan/Common/IO/LocationUtils.h"
#include "foundation/IO/File.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/IOException.h"
#include "foundation/Vx/Thread.h"

namespace Larkspan::Common::IO {
namespace {

using ::IO::AccessDeniedTreatment;
using ::IO::DataSafety;

constexpr unsigned int DefaultRetryCount = 5;
constexpr unsigned int DefaultRetryDelay = 250;

// `format` takes the location's path and the status.
[[noreturn]] void Fail(const char* format, const ::IO::Location& location, int status,
                       unsigned int line) {
  Vx::UniString message;
  const Vx::FailureDetail detail = ::IO::MakeFailureDetail(location, status);
  message.Printf(format, LocationToPath(location).ToPrintf(), status);
  Vx::IOException exception(message, __FILE__, line);
  exception.SetDetail(detail);
  throw exception;
}

::IO::EntryType GetType(const ::IO::Location& location) {
  ::IO::EntryType type = ::IO::EntryType::Other;
  if (const int status = ::IO::fileSystem.GetType(location, &type); status != 0) {
    throw ::IO::WithDetail(
        Vx::IOException("Failed to determine the type of location.", __FILE__, __LINE__), location,
        status);
  }
  return type;
}

}  // namespace

bool Exists(const ::IO::Location& location) {
  CheckLocation(location);
  bool found = false;
  const int status = ::IO::fileSystem.Contains(location, &found);
  if (status == ::IO::StatusSuccess) return found;
  if (status == ::IO::StatusNotFound) return false;
  throw ::IO::WithDetail(
      Vx::IOException("Failed to determine the existence of location.", __FILE__, __LINE__),
      location, status);
}

bool IsFolder(const ::IO::Location& location) {
  CheckLocation(location);
  return GetType(location) == ::IO::EntryType::Folder;
}

bool IsFile(const ::IO::Location& location) {
  CheckLocation(location);
  return GetType(location) == ::IO::EntryType::File;
}

unsigned __int64 GetFileSize(const ::IO::Location& location) {
  CheckLocation(location);
  const ::IO::File file(location, ::IO::OnNotFound::Fail);
  int status = file.GetStatus();
  unsigned int length = 0;
  if (status == 0) status = file.GetDataLength(&length);
  if (status != 0) {
    Fail("Failed to get size of file: %T. (Error code: %d)", location, status, __LINE__);
  }
  return length;
}

void CreateParentFolder(const ::IO::Location& location) {
  CheckLocation(location);
  if (location.GetLocalLength() == 0) return;
  const ::IO::Location parent = location.GetParent();
  int status = parent.GetStatus();
  if (status != 0) {
    Fail(
        "Failed to create parent folder of location: %T: failed to get parent location. "
        "(Error code: %d)",
        location, status, __LINE__);
  }
  if (parent.IsRoot() || Exists(parent)) return;
  status = ::IO::fileSystem.CreateFolderTree(parent);
  if (status != 0) {
    Fail("Failed to create parent folder of location: %T. (Error code: %d)", location, status,
         __LINE__);
  }
}

void CreateFolder(const ::IO::Location& location) {
  CheckLocation(location);
  if (Exists(location)) return;
  const int status = ::IO::fileSystem.CreateFolderTree(location);
  if (status != 0) {
    Fail("Failed to create folder: %T. (Error code: %d)", location, status, __LINE__);
  }
}

void Delete(const ::IO::Location& location, unsigned int retryCount, unsigned int retryDelay) {
  unsigned int failures = 0;
  while (true) {
    const int status =
        ::IO::fileSystem.Delete(location, DataSafety::None, AccessDeniedTreatment::Report);
    if (status == ::IO::StatusSuccess) return;
    if (status != ::IO::StatusAccessDenied) {
      Fail("Failed to delete file: %T. (Error code: %d)", location, status, __LINE__);
    }
    if (++failures > retryCount) {
      Fail("Failed to delete file: %T: access denied. (Error code: %d)", location, status,
           __LINE__);
    }
    Vx::Thread::Sleep(retryDelay, true);
  }
}

void Delete(const ::IO::Location& location) {
  Delete(location, DefaultRetryCount, DefaultRetryDelay);
}

}  // namespace Larkspan::Common::IO
