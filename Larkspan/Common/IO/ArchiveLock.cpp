#include "Larkspan/Common/IO/ArchiveLock.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "Larkspan/Common/IO/ArchiveException.h"
#include "foundation/IO/FileSystem.h"
#include "foundation/IO/SystemError.h"

namespace Larkspan::Common::IO {
namespace {

constexpr const char* OpenFailure = "Failed to update archive file: failed to open archive file.";

using Clock = std::chrono::steady_clock;

[[noreturn]] void Fail(const char* message, const ::IO::Location& location, int status,
                       unsigned int line) {
  throw ::IO::WithDetail(ArchiveException(message, __FILE__, line), location, status);
}

unsigned int GetMillisecondsUntil(Clock::time_point deadline) noexcept {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return static_cast<unsigned int>(std::max<decltype(left)>(left, 0));
}

}  // namespace

ArchiveLock::ArchiveLock(const ::IO::Location& archiveLocation) : location(archiveLocation) {
  const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(WaitMilliseconds);
  ::IO::Attributes opened;
  ::IO::Attributes named;
  // The change that held the lock before may have put another file under the name.
  while (!named.IsSameItem(opened) || named.node == 0) {
    if (const int status = Open(); status != 0) Fail(OpenFailure, location, status, __LINE__);
    const unsigned int wait = GetMillisecondsUntil(deadline);
    int status = wait == 0 ? ::IO::StatusLocked : file->Lock(wait);
    if (status == ::IO::StatusLocked) {
      Fail("Failed to update archive file: another change is under way.", location, status,
           __LINE__);
    }
    if (status == 0) status = file->GetAttributes(&opened);
    if (status != 0) {
      Fail("Failed to update archive file: failed to lock archive file.", location, status,
           __LINE__);
    }
    named = {};
    static_cast<void>(::IO::fileSystem.GetAttributes(location, &named, true));
  }
}

int ArchiveLock::Open() noexcept {
  file.emplace(location, ::IO::OnNotFound::Fail);
  if (file->GetStatus() != 0) return file->GetStatus();
  int status = file->Open(::IO::OpenMode::Update, ::IO::AccessDeniedTreatment::Report);
  isWritable = status != ::IO::StatusAccessDenied;
  // A file that can't be written can still be replaced.
  if (!isWritable) status = file->Open(::IO::OpenMode::Read, ::IO::AccessDeniedTreatment::Report);
  // No pipe, where it would be waited for bytes that nobody sends.
  return status != 0 ? status : file->Seek(::IO::SeekOrigin::Begin, 0);
}

void ArchiveLock::CheckWritable() const {
  if (isWritable) return;
  ::IO::File again(location, ::IO::OnNotFound::Fail);
  const int status = again.Open(::IO::OpenMode::Update, ::IO::AccessDeniedTreatment::Report);
  Fail(OpenFailure, location, status, __LINE__);
}

void ArchiveLock::TakeOver(::IO::File&& successor) noexcept {
  file.emplace(std::move(successor));
  isWritable = true;
}

}  // namespace Larkspan::Common::IO
