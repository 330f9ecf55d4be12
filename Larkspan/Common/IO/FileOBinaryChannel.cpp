#include "Larkspan/Common/IO/FileOBinaryChannel.h"

#include <utility>

#include "Larkspan/Common/IO/CloseInDestructor.h"
#include "Larkspan/Common/IO/LocationChecks.h"
#include "foundation/IO/SystemError.h"
#include "foundation/Vx/IOException.h"
#include "foundation/Vx/IllegalArgumentException.h"

namespace Larkspan::Common::IO {
namespace {

[[noreturn]] void FailToOpen(const ::IO::File& file, int status, unsigned int line) {
  throw ::IO::WithDetail(
      Vx::IOException("Failed to create file binary output channel: failed to open file.", __FILE__,
                      line),
      file, status);
}

// What went wrong with a write that should have taken `size` bytes; null if nothing did.
const char* GetWriteFailure(int status, unsigned int written, unsigned int size) noexcept {
  switch (status) {
    case ::IO::StatusOutputFull:
      return "Failed to write to file binary output channel: output is full.";
    case ::IO::StatusWriteError:
      return "Failed to write to file binary output channel: write error.";
    case ::IO::StatusSuccess:
      return written == size ? nullptr
                             : "Failed to write to file binary output channel: write error.";
    default:
      return "Failed to write to file binary output channel.";
  }
}

}  // namespace

FileOBinaryChannel::FileOBinaryChannel(const ::IO::Location& location, bool append,
                                       const FileShare& share)
    : own(std::in_place, location, ::IO::OnNotFound::Ignore), file(*own) {
  CheckFileLocation(location);
  if (share != FileShare::NoShare) {
    throw Vx::IllegalArgumentException("Invalid file share: file share is not supported yet.",
                                       __FILE__, __LINE__);
  }
  Open(append ? ::IO::OpenMode::Write : ::IO::OpenMode::WriteEmpty);
  const int status = append ? file.Seek(::IO::SeekOrigin::End, 0) : 0;
  if (status != 0) FailToOpen(file, status, __LINE__);
}

FileOBinaryChannel::FileOBinaryChannel(const ::IO::Location& location, ::IO::OpenMode mode)
    : own(std::in_place, location, ::IO::OnNotFound::Ignore), file(*own) {
  CheckFileLocation(location);
  Open(mode);
}

FileOBinaryChannel::FileOBinaryChannel(::IO::File&& openFile)
    : own(std::in_place, std::move(openFile)), file(*own) {
  if (!file.IsOpen()) FailToOpen(file, ::IO::StatusNotOpen, __LINE__);
}

FileOBinaryChannel::FileOBinaryChannel(::IO::File& openFile) : file(openFile) {
  if (!file.IsOpen()) FailToOpen(file, ::IO::StatusNotOpen, __LINE__);
}

FileOBinaryChannel::~FileOBinaryChannel() {
  CloseInDestructor(*this);
}

void FileOBinaryChannel::Open(::IO::OpenMode mode) {
  int status = file.GetStatus();
  if (status == 0) status = file.Open(mode, ::IO::AccessDeniedTreatment::Report);
  if (status != 0) FailToOpen(file, status, __LINE__);
}

void FileOBinaryChannel::Write(const char* data, unsigned int size) {
  if (data == nullptr) {
    throw Vx::IllegalArgumentException("Invalid source buffer: buffer is null.", __FILE__,
                                       __LINE__);
  }
  if (size == 0) {
    throw Vx::IllegalArgumentException("Invalid source buffer length: length is 0.", __FILE__,
                                       __LINE__);
  }
  CheckOpened();
  unsigned int written = 0;
  const int status = file.WriteBin(data, size, &written);
  if (const char* failure = GetWriteFailure(status, written, size); failure != nullptr) {
    throw ::IO::WithDetail(Vx::IOException(failure, __FILE__, __LINE__), file, status);
  }
}

void FileOBinaryChannel::Flush() {
  CheckOpened();
}

void FileOBinaryChannel::Close() {
  if (!opened) return;
  if (const int status = own ? own->Close() : 0; status != 0) {
    throw ::IO::WithDetail(
        Vx::IOException("Failed to close file binary output channel.", __FILE__, __LINE__), file,
        status);
  }
  opened = false;
}

void FileOBinaryChannel::CheckOpened(const char* fileName, unsigned int lineNumber) const {
  if (!opened) throw Vx::IOException("File binary output channel is closed.", fileName, lineNumber);
}

}  // namespace Larkspan::Common::IO
